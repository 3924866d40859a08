#include "ServiceEntry.hpp"

#include "Registry.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {
namespace {

/// Sets a flag as long as this object lives.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& target) : flag(target) { flag = true; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;
    ~ScopedFlag() { flag = false; }

private:
    bool& flag;
};

} // namespace

ServiceUse::ServiceUse(InterfaceMapConstPtr used) : map(std::move(used)) {}

ServiceUse::ServiceUse(std::shared_ptr<ServiceEntry> maker, InterfaceMapConstPtr made)
    : madeBy(std::move(maker)),
      map(std::move(made)) {
    ++madeBy->useCount;
}

ServiceUse::~ServiceUse() {
    if (madeBy) {
        madeBy->release();
    }
}

ServiceEntry::ServiceEntry(long serviceId, ServiceSource registered, const ServiceProperties& given,
                           std::weak_ptr<Registry> registeredIn)
    : number(serviceId),
      source(std::move(registered)),
      registry(std::move(registeredIn)),
      current(std::make_shared<Properties>(given, fixedProperties())) {}

ServiceProperties ServiceEntry::fixedProperties() const {
    return {{"service.id", number},
            {"service.scope", std::string(source.factory ? "bundle" : "singleton")},
            {"objectclass", source.interfaceIds}};
}

bool ServiceEntry::provides(const std::string& interfaceId) const {
    const auto& ids = source.interfaceIds;
    return std::find(ids.begin(), ids.end(), interfaceId) != ids.end();
}

std::shared_ptr<const Properties> ServiceEntry::properties() const {
    const std::scoped_lock lock(mutex);
    return current;
}

void ServiceEntry::setProperties(const ServiceProperties& given) {
    std::shared_ptr<const Properties> next = std::make_shared<Properties>(given, fixedProperties());
    const std::scoped_lock lock(mutex);
    current.swap(next);
}

bool ServiceEntry::isAlive() const {
    const std::scoped_lock lock(mutex);
    return alive;
}

bool ServiceEntry::isUnregistered() const {
    const std::scoped_lock lock(mutex);
    return unregistered;
}

void ServiceEntry::unregister() {
    {
        const std::scoped_lock lock(mutex);
        if (unregistered) {
            throw std::logic_error("Service is unregistered");
        }
        unregistered = true;
        if (!std::exchange(alive, false)) {
            return;
        }
    }
    if (const auto owner = registry.lock()) {
        owner->remove(*this);
    }
    const std::scoped_lock gate(factoryGate);
    takeBackObjects();
}

void ServiceEntry::retire() {
    const std::scoped_lock lock(mutex);
    alive = false;
}

std::shared_ptr<ServiceUse> ServiceEntry::use() {
    if (source.factory) {
        return useFactory();
    }
    return isAlive() ? std::make_shared<ServiceUse>(source.objects) : nullptr;
}

std::shared_ptr<ServiceUse> ServiceEntry::useFactory() {
    const std::scoped_lock gate(factoryGate);
    if (!isAlive()) {
        return nullptr;
    }
    if (!made) {
        made = makeObjects();
    }
    return made ? std::make_shared<ServiceUse>(shared_from_this(), made)
                : std::make_shared<ServiceUse>(nullptr);
}

/// Returns null if the factory fails, or if it requests its own service while it creates it.
InterfaceMapConstPtr ServiceEntry::makeObjects() {
    if (making) {
        return nullptr;
    }
    const ScopedFlag flag(making);
    try {
        const InterfaceMapConstPtr objects =
            source.factory->GetService(bundle(), ServiceRegistrationBase(shared_from_this()));
        return isComplete(objects) ? objects : nullptr;
    } catch (...) {
        return nullptr;
    }
}

bool ServiceEntry::isComplete(const InterfaceMapConstPtr& objects) const {
    return objects && std::all_of(source.interfaceIds.begin(), source.interfaceIds.end(),
                                  [&](const std::string& id) { return objects->count(id) != 0; });
}

void ServiceEntry::release() {
    const std::scoped_lock gate(factoryGate);
    if (--useCount == 0) {
        takeBackObjects();
    }
}

/// Must not throw, because it runs when a service pointer is released. The caller must hold the
/// gate.
void ServiceEntry::takeBackObjects() {
    const InterfaceMapConstPtr objects = std::exchange(made, nullptr);
    if (!objects) {
        return;
    }
    try {
        source.factory->UngetService(bundle(), ServiceRegistrationBase(shared_from_this()),
                                     objects);
    } catch (...) {
        // The user of the service cannot act on an error of its factory.
    }
}

Bundle ServiceEntry::bundle() const {
    const auto owner = registry.lock();
    return Bundle(owner ? owner->framework() : nullptr);
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
