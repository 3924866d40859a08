#pragma once

#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceFactory.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceRegistration.h>
#include <logging2/registry/export.hpp>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {

namespace detail {
class Registry;
class ServiceUse;
} // namespace detail

/// Through which services are registered and found during one run of a framework.
///
/// Invalid if default constructed, before `Framework::Start` and after the framework stopped;
/// every call but the test throws `IllegalStateException` then. Safe from many threads.
class LOGGING2_REGISTRY_EXPORT BundleContext {
public:
    BundleContext() = default;

    /// Whether services can be registered and found through it.
    explicit operator bool() const;

    /// Registers an object under the interfaces `I1`, `Interfaces`...
    ///
    /// Throws `std::invalid_argument` for a null object or a ranking that is not an `int`, and
    /// `std::runtime_error` for keys that differ in case only.
    template <class I1, class... Interfaces, class Impl>
    ServiceRegistration<I1, Interfaces...>
    RegisterService(const std::shared_ptr<Impl>& impl, const ServiceProperties& properties = {}) {
        return registerObjects(MakeInterfaceMap<I1, Interfaces...>(impl), properties);
    }

    /// Registers a factory that makes the objects; throws `ServiceException` for a null one.
    template <class I1, class... Interfaces>
    ServiceRegistration<I1, Interfaces...>
    RegisterService(const std::shared_ptr<ServiceFactory>& factory,
                    const ServiceProperties& properties = {}) {
        return registerFactory(
            {us_service_interface_iid<I1>(), us_service_interface_iid<Interfaces>()...}, factory,
            properties);
    }

    /// The services of an interface, all or those that match the filter; highest ranking first,
    /// and within a ranking the first registered first. No identifier means every interface.
    ///
    /// A filter is a condition on the properties of a service, such as "(&(name=a*)(!(size>=8)))".
    /// `=` compares with `*` as wildcard, `~=` without regard to case and blanks, `<=` and `>=` by
    /// order; "(key=*)" asks for presence. Keys have no case. A backslash takes the next character
    /// of a value literally.
    ///
    /// Throws `std::invalid_argument` for a malformed filter. Intended: only if a service of the
    /// interface exists; otherwise the filter is not looked at.
    std::vector<ServiceReferenceU> GetServiceReferences(const std::string& interfaceId,
                                                        const std::string& filter = {});

    /// The same for an interface that is known at compile time.
    template <class S>
    std::vector<ServiceReference<S>> GetServiceReferences(const std::string& filter = {}) {
        const auto found = GetServiceReferences(requireInterfaceId<S>(), filter);
        return {found.begin(), found.end()};
    }

    /// The service object as its interface; null if a factory fails to make one. Each call returns
    /// an owner of its own, and the bundle uses the service until the last of them is gone.
    ///
    /// Throws `std::invalid_argument` for a null reference and if the service is gone.
    template <class S>
    std::shared_ptr<S> GetService(const ServiceReference<S>& reference) {
        static_assert(!std::is_void_v<S>, "name an interface: ServiceReference<S>(reference)");
        return std::static_pointer_cast<S>(objectOf(reference));
    }

private:
    friend class Bundle;

    LOGGING2_REGISTRY_NO_EXPORT explicit BundleContext(std::shared_ptr<detail::Registry> registry);

    template <class S>
    static const std::string& requireInterfaceId() {
        const std::string& id = us_service_interface_iid<S>();
        if (id.empty()) {
            throw ServiceException("The service interface class has no "
                                   "CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro");
        }
        return id;
    }

    ServiceRegistrationU registerObjects(const InterfaceMapConstPtr& objects,
                                         const ServiceProperties& properties);
    ServiceRegistrationU registerFactory(const std::vector<std::string>& interfaceIds,
                                         const std::shared_ptr<ServiceFactory>& factory,
                                         const ServiceProperties& properties);
    std::shared_ptr<void> objectOf(const ServiceReferenceBase& reference) const;

    LOGGING2_REGISTRY_NO_EXPORT detail::Registry& requireRegistry() const;
    LOGGING2_REGISTRY_NO_EXPORT std::shared_ptr<detail::ServiceUse>
    requireUse(const ServiceReferenceBase& reference) const;

    std::shared_ptr<detail::Registry> registry;
};

} // namespace logging2_registry
} // namespace cppmicroservices
