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
    /// The interface.
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
    /// No interface in particular.
    using ServiceType = void;

    ServiceReference() = default;
    /// Names the same service.
    ServiceReference(const ServiceReferenceBase& base) : ServiceReferenceBase(base) {}

    using ServiceReferenceBase::operator=;
};

/// Names a service under any interface.
using ServiceReferenceU = ServiceReference<void>;

} // namespace cppmicroservices

/// References of one service have equal hashes.
template <class S>
struct std::hash<cppmicroservices::ServiceReference<S>> {
    /// The hash.
    std::size_t operator()(const cppmicroservices::ServiceReference<S>& reference) const {
        return std::hash<cppmicroservices::ServiceReferenceBase>()(reference);
    }
};
