#pragma once

#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceReferenceBase.h>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Names a service that is registered under interface `S`.
template <class S>
class ServiceReference : public ServiceReferenceBase {
public:
    ServiceReference() = default;

    /// Becomes null if the service is not registered under `S`.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {
        convertTo(us_service_interface_iid<S>());
    }
};

/// Names a service under any interface.
template <>
class ServiceReference<void> : public ServiceReferenceBase {
public:
    ServiceReference() = default;
    /// Names the same service.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {}
};

/// Names a service under any interface.
using ServiceReferenceU = ServiceReference<void>;

} // namespace logging2_registry
} // namespace cppmicroservices
