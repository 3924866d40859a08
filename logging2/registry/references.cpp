#include <cppmicroservices/ServiceReferenceBase.h>
#include <cppmicroservices/ServiceRegistrationBase.h>

#include "detail/ServiceEntry.hpp"

#include <stdexcept>
#include <utility>

namespace cppmicroservices {

ServiceReferenceBase::ServiceReferenceBase(std::shared_ptr<detail::ServiceEntry> named,
                                           std::string foundUnder)
    : entry(std::move(named)),
      interfaceId(std::move(foundUnder)) {}

ServiceReferenceBase::operator bool() const {
    return entry && entry->isAlive();
}

Any ServiceReferenceBase::GetProperty(const std::string& key) const {
    const auto properties = entry ? entry->properties() : nullptr;
    const Any* const value = properties ? properties->find(key) : nullptr;
    return value == nullptr ? Any() : *value;
}

void ServiceReferenceBase::convertTo(const std::string& id) {
    if (interfaceId == id) {
        return;
    }
    if (!*this || !entry->provides(id)) {
        entry = nullptr;
    }
    interfaceId = id;
}

ServiceRegistrationBase::ServiceRegistrationBase(std::shared_ptr<detail::ServiceEntry> registered)
    : entry(std::move(registered)) {}

detail::ServiceEntry& ServiceRegistrationBase::requireEntry() const {
    if (!entry) {
        throw std::logic_error("ServiceRegistrationBase object invalid");
    }
    if (entry->isUnregistered()) {
        throw std::logic_error("Service is unregistered");
    }
    return *entry;
}

void ServiceRegistrationBase::SetProperties(const ServiceProperties& properties) {
    requireEntry().setProperties(properties);
}

void ServiceRegistrationBase::Unregister() {
    requireEntry().unregister();
}

} // namespace cppmicroservices
