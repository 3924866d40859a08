#pragma once

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceRegistration.h>
#include <logging2/registry/export.hpp>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Creates the objects of a service when the service is first requested.
///
/// Calls for one registration are serialised. The order of the virtual operations never changes.
class LOGGING2_REGISTRY_EXPORT ServiceFactory {
public:
    virtual ~ServiceFactory();

    /// Returns the objects for `bundle`, one for every interface of the registration. They are kept
    /// until the last pointer to them is released.
    ///
    /// BundleContext::GetService() returns a null pointer if this map is null, if it lacks an
    /// interface, if this throws an exception, or if the factory requests its own service while it
    /// creates it.
    virtual InterfaceMapConstPtr GetService(const Bundle& bundle,
                                            const ServiceRegistrationBase& registration) = 0;

    /// Receives the objects back after the last pointer to them was released or the service was
    /// unregistered. Its exceptions are ignored.
    virtual void UngetService(const Bundle& bundle, const ServiceRegistrationBase& registration,
                              const InterfaceMapConstPtr& service) = 0;
};

} // namespace logging2_registry
} // namespace cppmicroservices
