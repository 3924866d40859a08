#include "ServiceEntry.hpp"

#include "Registry.hpp"

#include <cppmicroservices/Constants.h>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace cppmicroservices::detail {
namespace {

constexpr auto scopeOfFactory = "bundle";
constexpr auto scopeOfObject = "singleton";

std::exception_ptr service_exception(const std::string& message, ServiceException::Type type) {
    return std::make_exception_ptr(ServiceException(message, type));
}

/// Sets a flag for as long as it lives.
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

ServiceUse::ServiceUse(std::shared_ptr<ServiceEntry> user, InterfaceMapConstPtr used)
    : entry(std::move(user)),
      map(std::move(used)) {
    ++entry->useCount;
}

ServiceUse::~ServiceUse() {
    if (entry) {
        entry->release();
    }
}

ServiceEntry::ServiceEntry(long serviceId, ServiceSource registered, const ServiceProperties& given,
                           std::weak_ptr<Registry> registeredIn)
    : number(serviceId),
      source(std::move(registered)),
      registry(std::move(registeredIn)),
      current(std::make_shared<Properties>(given, fixedProperties())) {}

ServiceProperties ServiceEntry::fixedProperties() const {
    const std::string scope = source.factory ? scopeOfFactory : scopeOfObject;
    return {{Constants::SERVICE_ID, number},
            {Constants::SERVICE_SCOPE, scope},
            {Constants::OBJECTCLASS, source.interfaceIds}};
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

Bundle ServiceEntry::usingBundle() const {
    return isAlive() && useCount > 0 ? bundle() : Bundle();
}

std::shared_ptr<ServiceUse> ServiceEntry::use() {
    if (source.factory) {
        return useFactory();
    }
    return isAlive() ? std::make_shared<ServiceUse>(shared_from_this(), source.objects) : nullptr;
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
                : std::make_shared<ServiceUse>();
}

/// Null, and an event, when the factory does not do its work.
InterfaceMapConstPtr ServiceEntry::makeObjects() {
    try {
        InterfaceMapConstPtr objects = callFactory();
        checkObjects(objects);
        return objects;
    } catch (const ServiceException& failure) {
        report(FrameworkEvent::FRAMEWORK_ERROR, failure.what(), std::current_exception());
    } catch (const std::logic_error& missing) {
        report(FrameworkEvent::FRAMEWORK_WARNING, missing.what(), std::current_exception());
    }
    return nullptr;
}

InterfaceMapConstPtr ServiceEntry::callFactory() {
    if (making) {
        throw ServiceException("Recursive call to ServiceFactory::GetService",
                               ServiceException::FACTORY_RECURSION);
    }
    const ScopedFlag flag(making);
    try {
        return source.factory->GetService(bundle(), ServiceRegistrationBase(shared_from_this()));
    } catch (const std::exception& failure) {
        throw ServiceException(failure.what(), ServiceException::FACTORY_EXCEPTION);
    } catch (...) {
        throw ServiceException("ServiceFactory threw an unknown exception.",
                               ServiceException::FACTORY_EXCEPTION);
    }
}

void ServiceEntry::checkObjects(const InterfaceMapConstPtr& objects) const {
    if (!objects || objects->empty()) {
        throw ServiceException("ServiceFactory returned an empty or nullptr interface map.",
                               ServiceException::FACTORY_ERROR);
    }
    for (const std::string& id : source.interfaceIds) {
        if (objects->count(id) == 0) {
            throw std::logic_error("ServiceFactory produced an object that did not implement: " +
                                   id);
        }
    }
}

void ServiceEntry::release() {
    if (!source.factory) {
        --useCount;
        return;
    }
    const std::scoped_lock gate(factoryGate);
    if (--useCount == 0) {
        takeBackObjects();
    }
}

/// Must not throw: it runs when a service pointer is dropped. The gate must be held.
void ServiceEntry::takeBackObjects() {
    const InterfaceMapConstPtr objects = std::exchange(made, nullptr);
    if (!objects) {
        return;
    }
    try {
        source.factory->UngetService(bundle(), ServiceRegistrationBase(shared_from_this()),
                                     objects);
    } catch (const std::exception& failure) {
        report(FrameworkEvent::FRAMEWORK_ERROR, "ServiceFactory threw an exception",
               service_exception(failure.what(), ServiceException::FACTORY_EXCEPTION));
    } catch (...) {
        report(FrameworkEvent::FRAMEWORK_ERROR, "ServiceFactory threw an exception",
               service_exception("unknown exception", ServiceException::FACTORY_EXCEPTION));
    }
}

Bundle ServiceEntry::bundle() const {
    const auto owner = registry.lock();
    return Bundle(owner ? owner->framework() : nullptr);
}

void ServiceEntry::report(FrameworkEvent::Type type, const std::string& message,
                          std::exception_ptr throwable) const {
    if (const auto owner = registry.lock()) {
        owner->send(FrameworkEvent(type, message, std::move(throwable)));
    }
}

} // namespace cppmicroservices::detail
