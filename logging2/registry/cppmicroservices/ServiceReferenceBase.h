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

/// Refers to a registered service without using its object.
///
/// A reference is null if it is default constructed or if the service is gone. The properties of a
/// service that is gone can still be read. The service object lives at least as long as a reference
/// to it.
class LOGGING2_REGISTRY_EXPORT ServiceReferenceBase {
public:
    /// Whether the service is registered now. A null reference gives false.
    explicit operator bool() const;

    /// Returns the property with this key, or an empty `Any` if there is none. The case of the key
    /// is ignored.
    Any GetProperty(const std::string& key) const;

protected:
    ServiceReferenceBase() = default;

    /// Makes this refer to the service under the interface, or to nothing if the service is not
    /// registered under it.
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
