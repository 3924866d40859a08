#pragma once

#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceReferenceBase.h>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Refers to a service that is registered under interface `S`.
template <class S>
class ServiceReference : public ServiceReferenceBase {
public:
    ServiceReference() = default;

    /// Makes a reference to the same service. It is null if the service is not registered under
    /// `S`.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {
        convertTo(us_service_interface_iid<S>());
    }
};

/// Refers to a service under any interface.
template <>
class ServiceReference<void> : public ServiceReferenceBase {
public:
    ServiceReference() = default;
    /// Makes a reference to the same service.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {}
};

/// Refers to a service under any interface.
using ServiceReferenceU = ServiceReference<void>;

} // namespace logging2_registry
} // namespace cppmicroservices
