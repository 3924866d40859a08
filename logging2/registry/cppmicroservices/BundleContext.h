#pragma once

#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ListenerFunctors.h>
#include <cppmicroservices/ListenerToken.h>
#include <cppmicroservices/ServiceFactory.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceRegistration.h>
#include <logging2/export.hpp>

#include <memory>
#include <string>
#include <vector>

namespace cppmicroservices {

namespace detail {
class Registry;
class ServiceUse;
} // namespace detail

/// Through which services are registered and found during one run of a framework.
///
/// Invalid when default constructed, before `Framework::Init` and after the framework stopped;
/// every call but the test throws `IllegalStateException` then. Safe from many threads.
class LOGGING2_EXPORT BundleContext {
public:
    BundleContext() = default;

    /// Whether services can be registered and found through it.
    explicit operator bool() const;
    /// Whether both belong to one run of one framework, or to none.
    bool operator==(const BundleContext& other) const;
    /// The opposite.
    bool operator!=(const BundleContext& other) const;

    /// Registers an object under the interfaces `I1`, `Interfaces`...
    ///
    /// Throws `std::invalid_argument` for a null object or a ranking that is not an `int`, and
    /// `std::runtime_error` for keys that differ in case only.
    template <class I1, class... Interfaces, class Impl>
    ServiceRegistration<I1, Interfaces...>
    RegisterService(const std::shared_ptr<Impl>& impl, const ServiceProperties& properties = {}) {
        return RegisterService(InterfaceMapConstPtr(MakeInterfaceMap<I1, Interfaces...>(impl)),
                               properties);
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

    /// Registers the objects under the interfaces that the map names.
    ServiceRegistrationU RegisterService(const InterfaceMapConstPtr& service,
                                         const ServiceProperties& properties = {});

    /// The services of an interface, all or those that match the filter; highest ranking first,
    /// and within a ranking the first registered first. No identifier means every interface.
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

    /// The first of `GetServiceReferences`; a null reference when there is none.
    ServiceReferenceU GetServiceReference(const std::string& interfaceId);

    /// The same for an interface that is known at compile time.
    template <class S>
    ServiceReference<S> GetServiceReference() {
        return GetServiceReference(requireInterfaceId<S>());
    }

    /// The service object; null when a factory fails to make one. Each call returns an owner of
    /// its own, and the bundle uses the service until the last of them is gone.
    ///
    /// Throws `std::invalid_argument` for a null reference and when the service is gone.
    std::shared_ptr<void> GetService(const ServiceReferenceBase& reference);
    /// The objects under all interfaces of the service; otherwise the same.
    InterfaceMapConstPtr GetService(const ServiceReferenceU& reference);

    /// The object as its interface; otherwise the same.
    template <class S>
    std::shared_ptr<S> GetService(const ServiceReference<S>& reference) {
        const ServiceReferenceBase& base = reference;
        return std::static_pointer_cast<S>(GetService(base));
    }

    /// Calls the listener for every framework event until it is removed or the framework stops.
    ListenerToken AddFrameworkListener(const FrameworkListener& listener);
    /// Calls the listener no more. An empty token removes nothing.
    void RemoveListener(ListenerToken token);

private:
    friend class Bundle;

    LOGGING2_NO_EXPORT explicit BundleContext(std::shared_ptr<detail::Registry> registry);

    template <class S>
    static const std::string& requireInterfaceId() {
        const std::string& id = us_service_interface_iid<S>();
        if (id.empty()) {
            throw ServiceException("The service interface class has no "
                                   "CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro");
        }
        return id;
    }

    ServiceRegistrationU registerFactory(const std::vector<std::string>& interfaceIds,
                                         const std::shared_ptr<ServiceFactory>& factory,
                                         const ServiceProperties& properties);

    LOGGING2_NO_EXPORT detail::Registry& requireRegistry() const;
    LOGGING2_NO_EXPORT std::shared_ptr<detail::ServiceUse>
    requireUse(const ServiceReferenceBase& reference) const;

    std::shared_ptr<detail::Registry> registry;
};

} // namespace cppmicroservices
