#pragma once

#include <cppmicroservices/ServiceRegistrationBase.h>

#include <type_traits>

namespace cppmicroservices {

/// The handle of a service that is registered under the interfaces `I1`, `Interfaces`...
template <class I1, class... Interfaces>
class ServiceRegistration : public ServiceRegistrationBase {
public:
    ServiceRegistration() = default;

    /// A reference to the service under one of its interfaces.
    template <class Interface>
    ServiceReference<Interface> GetReference() const {
        static_assert(
            std::disjunction_v<std::is_same<Interface, I1>, std::is_same<Interface, Interfaces>...>,
            "the service is not registered under this interface");
        return ServiceRegistrationBase::GetReference(us_service_interface_iid<Interface>());
    }

    /// The same under the first interface.
    ServiceReference<I1> GetReference() const { return GetReference<I1>(); }

private:
    friend class BundleContext;

    ServiceRegistration(const ServiceRegistrationBase& base) : ServiceRegistrationBase(base) {}
};

/// The handle of a service whose interfaces are known at run time only.
template <>
class ServiceRegistration<void> : public ServiceRegistrationBase {
public:
    ServiceRegistration() = default;

    /// A further handle of the same service.
    ServiceRegistration(const ServiceRegistrationBase& base) : ServiceRegistrationBase(base) {}
};

/// The handle of a service whose interfaces are known at run time only.
using ServiceRegistrationU = ServiceRegistration<void>;

} // namespace cppmicroservices
