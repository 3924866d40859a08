#pragma once

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceRegistration.h>
#include <logging2/registry/export.hpp>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Makes the service object when a bundle first asks for it. The order of the operations is fixed.
///
/// Calls for one registration are serialised.
class LOGGING2_REGISTRY_EXPORT ServiceFactory {
public:
    virtual ~ServiceFactory();

    /// The objects for `bundle`, one for every interface of the registration.
    ///
    /// They are kept until the bundle drops the last pointer to them. A null or empty map, a
    /// missing interface or an exception gives the caller a null pointer, and so does a factory
    /// that asks for its own service while it makes it.
    virtual InterfaceMapConstPtr GetService(const Bundle& bundle,
                                            const ServiceRegistrationBase& registration) = 0;

    /// Takes the objects back, after the last pointer went or the service was unregistered. What it
    /// throws is dropped.
    virtual void UngetService(const Bundle& bundle, const ServiceRegistrationBase& registration,
                              const InterfaceMapConstPtr& service) = 0;
};

} // namespace logging2_registry
} // namespace cppmicroservices
