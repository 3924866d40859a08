#pragma once

#include <cppmicroservices/ServiceReference.h>
#include <cppmicroservices/ServiceRegistrationBase.h>

namespace cppmicroservices {
inline namespace logging2_registry {

/// The handle of a service that is registered under the interfaces `I1`, `Interfaces`...
template <class I1, class... Interfaces>
class ServiceRegistration : public ServiceRegistrationBase {
public:
    ServiceRegistration() = default;

private:
    friend class BundleContext;

    ServiceRegistration(const ServiceRegistrationBase& base) : ServiceRegistrationBase(base) {}
};

/// The handle of a service, whatever its interfaces.
template <>
class ServiceRegistration<void> : public ServiceRegistrationBase {
public:
    ServiceRegistration() = default;

    /// Makes a further handle of the same service.
    ServiceRegistration(const ServiceRegistrationBase& base) : ServiceRegistrationBase(base) {}
};

/// The handle of a service, whatever its interfaces.
using ServiceRegistrationU = ServiceRegistration<void>;

} // namespace logging2_registry
} // namespace cppmicroservices
