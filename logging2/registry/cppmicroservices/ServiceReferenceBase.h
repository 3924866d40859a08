#pragma once

#include <cppmicroservices/Any.h>
#include <cppmicroservices/Bundle.h>
#include <logging2/export.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cppmicroservices {

namespace detail {
class ServiceEntry;
} // namespace detail

/// Names a registered service without holding its object in use.
///
/// False when default constructed, set to null, or once the service is gone; its properties can
/// still be read then. A reference that is alive keeps the service object alive.
class LOGGING2_EXPORT ServiceReferenceBase {
public:
    /// Whether the service is registered now.
    explicit operator bool() const;

    /// Names no service afterwards.
    ServiceReferenceBase& operator=(std::nullptr_t);

    /// The property under `key`, in whatever case; an empty `Any` when there is none.
    Any GetProperty(const std::string& key) const;
    /// The keys of all properties, those that the registry sets among them.
    std::vector<std::string> GetPropertyKeys() const;

    /// The bundles that hold an object of this service.
    std::vector<Bundle> GetUsingBundles() const;

    /// The interface under which the service was found; empty when it was found under none.
    std::string GetInterfaceId() const;

    /// Whether the service is registered under the interface as well.
    bool IsConvertibleTo(const std::string& interfaceId) const;

    /// References are equal when they name the same service, under whatever interface.
    bool operator==(const ServiceReferenceBase& other) const;

    /// The service that a lookup prefers is the greater one.
    bool operator<(const ServiceReferenceBase& other) const;

protected:
    ServiceReferenceBase() = default;

    /// Names the service under the interface, or nothing if it is not registered under it.
    void convertTo(const std::string& interfaceId);

private:
    friend class BundleContext;
    friend class LDAPFilter;
    friend class ServiceRegistrationBase;
    friend struct std::hash<ServiceReferenceBase>;

    LOGGING2_NO_EXPORT ServiceReferenceBase(std::shared_ptr<detail::ServiceEntry> entry,
                                            std::string interfaceId);

    std::shared_ptr<detail::ServiceEntry> entry;
    std::string interfaceId;
};

} // namespace cppmicroservices

/// References of one service have equal hashes.
template <>
struct std::hash<cppmicroservices::ServiceReferenceBase> {
    /// The hash.
    std::size_t operator()(const cppmicroservices::ServiceReferenceBase& reference) const {
        return std::hash<std::shared_ptr<cppmicroservices::detail::ServiceEntry>>()(
            reference.entry);
    }
};
