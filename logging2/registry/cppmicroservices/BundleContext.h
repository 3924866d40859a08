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

/// Registers and finds services during one run of a framework.
///
/// A context is invalid if it is default constructed, before `Framework::Start` and after the
/// framework has stopped. Every call except `operator bool` then throws `IllegalStateException`.
///
/// Threads: several threads may use a context at once.
class LOGGING2_REGISTRY_EXPORT BundleContext {
public:
    BundleContext() = default;

    /// Whether the context is valid, so that services can be registered and found.
    explicit operator bool() const;

    /// Registers an object under the interfaces `I1`, `Interfaces`... and returns the registration.
    ///
    /// Throws `std::invalid_argument` if the object is null or if the ranking is not an `int`, and
    /// `std::runtime_error` if two keys differ in case only.
    template <class I1, class... Interfaces, class Impl>
    ServiceRegistration<I1, Interfaces...>
    RegisterService(const std::shared_ptr<Impl>& impl, const ServiceProperties& properties = {}) {
        return registerObjects(MakeInterfaceMap<I1, Interfaces...>(impl), properties);
    }

    /// Registers a factory that creates the objects, and returns the registration. Throws
    /// `ServiceException` if the factory is null. Throws for properties as the other overload does.
    template <class I1, class... Interfaces>
    ServiceRegistration<I1, Interfaces...>
    RegisterService(const std::shared_ptr<ServiceFactory>& factory,
                    const ServiceProperties& properties = {}) {
        return registerFactory(
            {us_service_interface_iid<I1>(), us_service_interface_iid<Interfaces>()...}, factory,
            properties);
    }

    /// Returns the services of an interface that match the filter. An empty filter matches all
    /// services, and an empty identifier stands for every interface. The service with the highest
    /// ranking comes first, and within a ranking the first registered service.
    ///
    /// A filter is a condition on the properties of a service, such as "(&(name=a*)(!(size>=8)))".
    /// `=` compares texts with `*` as a wildcard, `~=` ignores case and blanks, and `<=` and `>=`
    /// compare by order. "(key=*)" tests whether the property exists. The case of keys is ignored.
    /// A backslash makes the next character of a value literal.
    ///
    /// Throws `std::invalid_argument` if the filter is malformed. Intended: it throws only if a
    /// service of the interface is registered; otherwise the filter is not parsed.
    std::vector<ServiceReferenceU> GetServiceReferences(const std::string& interfaceId,
                                                        const std::string& filter = {});

    /// Returns the services of the interface `S` that match the filter, as the other overload does.
    /// Throws `ServiceException` if `S` has no identifier.
    template <class S>
    std::vector<ServiceReference<S>> GetServiceReferences(const std::string& filter = {}) {
        const auto found = GetServiceReferences(requireInterfaceId<S>(), filter);
        return {found.begin(), found.end()};
    }

    /// Returns the service object as its interface, or null if a factory fails to create it. Each
    /// call returns a separate owner. The service is in use until the last owner is gone.
    ///
    /// Throws `std::invalid_argument` if the reference is null or if the service is gone.
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
