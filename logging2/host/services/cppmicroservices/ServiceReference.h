#pragma once

#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceReferenceBase.h>

#include <cstddef>
#include <functional>

namespace cppmicroservices {

/// Names a service that is registered under interface `S`.
template <class S>
class ServiceReference : public ServiceReferenceBase {
public:
    using ServiceType = S;

    ServiceReference() = default;

    /// Becomes null when the service is not registered under `S`.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {
        convertTo(us_service_interface_iid<S>());
    }

    using ServiceReferenceBase::operator=;
};

/// Names a service under any interface.
template <>
class ServiceReference<void> : public ServiceReferenceBase {
public:
    using ServiceType = void;

    ServiceReference() = default;
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {}

    using ServiceReferenceBase::operator=;
};

using ServiceReferenceU = ServiceReference<void>;

} // namespace cppmicroservices

template <class S>
struct std::hash<cppmicroservices::ServiceReference<S>> {
    std::size_t operator()(const cppmicroservices::ServiceReference<S>& reference) const {
        return std::hash<cppmicroservices::ServiceReferenceBase>()(reference);
    }
};
