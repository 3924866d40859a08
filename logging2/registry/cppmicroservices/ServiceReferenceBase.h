#pragma once

#include <cppmicroservices/Any.h>
#include <logging2/registry/export.hpp>

#include <memory>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

namespace detail {
class ServiceEntry;
} // namespace detail

/// Names a registered service without holding its object in use.
///
/// False if default constructed, or once the service is gone; its properties can still be read
/// then. A reference that is alive keeps the service object alive.
class LOGGING2_REGISTRY_EXPORT ServiceReferenceBase {
public:
    /// Whether the service is registered now.
    explicit operator bool() const;

    /// The property under `key`, in whatever case; an empty `Any` if there is none.
    Any GetProperty(const std::string& key) const;

protected:
    ServiceReferenceBase() = default;

    /// Names the service under the interface, or nothing if it is not registered under it.
    void convertTo(const std::string& interfaceId);

private:
    friend class BundleContext;

    LOGGING2_REGISTRY_NO_EXPORT ServiceReferenceBase(std::shared_ptr<detail::ServiceEntry> entry,
                                                     std::string interfaceId);

    std::shared_ptr<detail::ServiceEntry> entry;
    std::string interfaceId;
};

} // namespace logging2_registry
} // namespace cppmicroservices
