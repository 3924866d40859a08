#pragma once

#include "Properties.hpp"

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/ServiceFactory.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

class FrameworkCore;
class Registry;
class ServiceEntry;

/// The source of a service's objects: either the objects by interface, or a factory for them.
struct ServiceSource {
    std::vector<std::string> interfaceIds;
    InterfaceMapConstPtr objects;
    std::shared_ptr<ServiceFactory> factory;
};

/// One owner's use of a service's objects. There may be none. If a factory made the objects, the
/// service is told when the use ends.
class ServiceUse {
public:
    explicit ServiceUse(InterfaceMapConstPtr used);
    ServiceUse(std::shared_ptr<ServiceEntry> maker, InterfaceMapConstPtr made);
    ServiceUse(const ServiceUse&) = delete;
    ServiceUse& operator=(const ServiceUse&) = delete;
    ~ServiceUse();

    const InterfaceMapConstPtr& objects() const { return map; }

private:
    const std::shared_ptr<ServiceEntry> madeBy;
    const InterfaceMapConstPtr map;
};

/// One registered service: its properties, whether it is still registered, and its uses.
///
/// References, registrations and service pointers share the entry, so it may outlive its registry.
class ServiceEntry : public std::enable_shared_from_this<ServiceEntry> {
public:
    ServiceEntry(long serviceId, ServiceSource registered, const ServiceProperties& given,
                 std::weak_ptr<Registry> registeredIn);

    long id() const { return number; }
    bool provides(const std::string& interfaceId) const;

    std::shared_ptr<const Properties> properties() const;
    void setProperties(const ServiceProperties& given);

    /// Whether the service can be found and used.
    bool isAlive() const;
    /// Whether unregister() was called. A service that ended with its framework does not count.
    bool isUnregistered() const;
    void unregister();
    /// Ends the service together with its framework. Objects in use stay with their owners.
    void retire();

    /// Returns a new use of the service, or null if the service is gone.
    std::shared_ptr<ServiceUse> use();

private:
    friend class ServiceUse;

    ServiceProperties fixedProperties() const;
    std::shared_ptr<ServiceUse> useFactory();
    InterfaceMapConstPtr makeObjects();
    bool isComplete(const InterfaceMapConstPtr& objects) const;
    void release();
    void takeBackObjects();
    Bundle bundle() const;

    const long number;
    const ServiceSource source;
    const std::weak_ptr<Registry> registry;

    mutable std::mutex mutex;
    std::shared_ptr<const Properties> current; // guarded by mutex
    bool alive = true;                         // guarded by mutex
    bool unregistered = false;                 // guarded by mutex

    // Held during calls of the factory. It is recursive, because a factory may request its own
    // service.
    std::recursive_mutex factoryGate;
    bool making = false;       // guarded by factoryGate
    std::size_t useCount = 0;  // guarded by factoryGate; of what the factory made
    InterfaceMapConstPtr made; // guarded by factoryGate
};

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
