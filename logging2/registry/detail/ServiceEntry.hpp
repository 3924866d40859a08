#pragma once

#include "Properties.hpp"

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/ServiceException.h>
#include <cppmicroservices/ServiceFactory.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cppmicroservices::detail {

class FrameworkCore;
class Registry;
class ServiceEntry;

/// What was registered: either objects by interface, or a factory for them.
struct ServiceSource {
    std::vector<std::string> interfaceIds;
    InterfaceMapConstPtr objects;
    std::shared_ptr<ServiceFactory> factory;
};

/// One owner's use of the objects; the count drops with it. Empty if there are no objects.
class ServiceUse {
public:
    ServiceUse() = default;
    ServiceUse(std::shared_ptr<ServiceEntry> user, InterfaceMapConstPtr used);
    ServiceUse(const ServiceUse&) = delete;
    ServiceUse& operator=(const ServiceUse&) = delete;
    ~ServiceUse();

    const InterfaceMapConstPtr& objects() const { return map; }

private:
    std::shared_ptr<ServiceEntry> entry;
    InterfaceMapConstPtr map;
};

/// One registered service: its properties, whether it is still there, and who uses it.
///
/// References, registrations and service pointers share it; it outlives its registry if they do.
class ServiceEntry : public std::enable_shared_from_this<ServiceEntry> {
public:
    ServiceEntry(long serviceId, ServiceSource registered, const ServiceProperties& given,
                 std::weak_ptr<Registry> registeredIn);

    long id() const { return number; }
    bool provides(const std::string& interfaceId) const;

    std::shared_ptr<const Properties> properties() const;
    void setProperties(const ServiceProperties& given);

    /// Whether it can be found and used.
    bool isAlive() const;
    /// Whether it was taken back, as opposed to ended together with its framework.
    bool isUnregistered() const;
    void unregister();
    /// Ends it together with its framework: objects in use are left to their owners.
    void retire();

    /// The bundle that uses it now; an empty handle when none does.
    Bundle usingBundle() const;

    /// A use of its own; null when the service is gone.
    std::shared_ptr<ServiceUse> use();

private:
    friend class ServiceUse;

    ServiceProperties fixedProperties() const;
    std::shared_ptr<ServiceUse> useFactory();
    InterfaceMapConstPtr makeObjects();
    InterfaceMapConstPtr callFactory();
    void checkObjects(const InterfaceMapConstPtr& objects) const;
    void release();
    void takeBackObjects();
    Bundle bundle() const;
    void report(FrameworkEvent::Type type, const std::string& message,
                std::exception_ptr throwable) const;

    const long number;
    const ServiceSource source;
    const std::weak_ptr<Registry> registry;

    mutable std::mutex mutex;
    std::shared_ptr<const Properties> current; // guarded by mutex
    bool alive = true;                         // guarded by mutex
    bool unregistered = false;                 // guarded by mutex

    std::atomic<std::size_t> useCount{0};

    // Held while the factory works. Recursive, as the factory may come back for its own service.
    std::recursive_mutex factoryGate;
    bool making = false;       // guarded by factoryGate
    InterfaceMapConstPtr made; // guarded by factoryGate
};

} // namespace cppmicroservices::detail
