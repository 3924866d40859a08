#pragma once

#include <cppmicroservices/ServiceProperties.h>
#include <logging2/registry/export.hpp>

#include <memory>

namespace cppmicroservices {
inline namespace logging2_registry {

namespace detail {
class ServiceEntry;
} // namespace detail

/// The handle through which a service is changed and unregistered.
///
/// Dropping it leaves the service registered. While it is alive, so is the service object. Every
/// call throws `std::logic_error` on an empty handle, and once `Unregister` was called.
class LOGGING2_REGISTRY_EXPORT ServiceRegistrationBase {
public:
    /// Replaces all properties but those that the registry sets; a new ranking takes effect at
    /// once. Throws `std::runtime_error` for keys that differ in case only, and
    /// `std::invalid_argument` for a ranking that is not an `int`.
    void SetProperties(const ServiceProperties& properties);

    /// Unregisters the service: references to it turn false, lookups do not find it any more,
    /// objects already obtained stay usable. Does nothing if the framework was stopped meanwhile.
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
