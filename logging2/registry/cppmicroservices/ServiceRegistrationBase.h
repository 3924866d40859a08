#pragma once

#include <cppmicroservices/ServiceProperties.h>
#include <cppmicroservices/ServiceReference.h>
#include <logging2/export.hpp>

#include <memory>
#include <string>

namespace cppmicroservices {

/// The handle through which a service is changed and taken back.
///
/// Dropping it leaves the service registered. While it is alive, so is the service object. Every
/// call but the test throws `std::logic_error` on an empty handle, and once `Unregister` was
/// called.
class LOGGING2_EXPORT ServiceRegistrationBase {
public:
    /// Whether the handle was ever given to a service.
    explicit operator bool() const;

    /// A reference to the service under the interface, or under none.
    ServiceReferenceBase GetReference(const std::string& interfaceId = {}) const;

    /// Replaces all properties but those that the registry sets; a new ranking takes effect at
    /// once. Throws `std::runtime_error` for keys that differ in case only, and
    /// `std::invalid_argument` for a ranking that is not an `int`.
    void SetProperties(const ServiceProperties& properties);

    /// Takes the service back: references to it turn false, lookups do not find it any more,
    /// objects already obtained stay usable. Does nothing if the framework was stopped meanwhile.
    void Unregister();

    /// Whether both are handles of one service, or both empty.
    bool operator==(const ServiceRegistrationBase& other) const;

protected:
    ServiceRegistrationBase() = default;

private:
    friend class BundleContext;
    friend class detail::ServiceEntry;

    LOGGING2_NO_EXPORT explicit ServiceRegistrationBase(
        std::shared_ptr<detail::ServiceEntry> entry);

    LOGGING2_NO_EXPORT detail::ServiceEntry& requireEntry() const;

    std::shared_ptr<detail::ServiceEntry> entry;
};

} // namespace cppmicroservices
