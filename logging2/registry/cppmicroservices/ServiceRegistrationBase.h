#pragma once

#include <cppmicroservices/ServiceProperties.h>
#include <logging2/registry/export.hpp>

#include <memory>

namespace cppmicroservices {
inline namespace logging2_registry {

namespace detail {
class ServiceEntry;
} // namespace detail

/// The handle with which a service is changed and unregistered.
///
/// Destroying the handle leaves the service registered. The service object lives at least as long
/// as a handle of it. Every call throws `std::logic_error` if the handle is empty or if
/// `Unregister` was called before.
class LOGGING2_REGISTRY_EXPORT ServiceRegistrationBase {
public:
    /// Replaces all properties except those that the registry sets. A new ranking takes effect at
    /// once. Throws `std::runtime_error` if two keys differ in case only, and
    /// `std::invalid_argument` if the ranking is not an `int`.
    void SetProperties(const ServiceProperties& properties);

    /// Unregisters the service. References to it become null, and look-ups no longer find it.
    /// Objects that were obtained before stay usable. Does nothing if the framework was stopped
    /// before.
    void Unregister();

protected:
    ServiceRegistrationBase() = default;

private:
    friend class BundleContext;
    friend class detail::ServiceEntry;

    LOGGING2_REGISTRY_NO_EXPORT explicit ServiceRegistrationBase(
        std::shared_ptr<detail::ServiceEntry> entry);

    LOGGING2_REGISTRY_NO_EXPORT detail::ServiceEntry& requireEntry() const;

    std::shared_ptr<detail::ServiceEntry> entry;
};

} // namespace logging2_registry
} // namespace cppmicroservices
