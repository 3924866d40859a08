#include <cppmicroservices/LDAPFilter.h>
#include <cppmicroservices/ServiceReferenceBase.h>
#include <cppmicroservices/ServiceRegistrationBase.h>

#include "detail/Filter.hpp"
#include "detail/ServiceEntry.hpp"

#include <stdexcept>
#include <tuple>
#include <utility>

namespace cppmicroservices {

ServiceReferenceBase::ServiceReferenceBase(std::shared_ptr<detail::ServiceEntry> named,
                                           std::string foundUnder)
    : entry(std::move(named)),
      interfaceId(std::move(foundUnder)) {}

ServiceReferenceBase::operator bool() const {
    return entry && entry->isAlive();
}

ServiceReferenceBase& ServiceReferenceBase::operator=(std::nullptr_t) {
    entry = nullptr;
    interfaceId.clear();
    return *this;
}

Any ServiceReferenceBase::GetProperty(const std::string& key) const {
    if (!entry) {
        return {};
    }
    const auto properties = entry->properties();
    const Any* value = properties->find(key);
    return value == nullptr ? Any() : *value;
}

std::vector<std::string> ServiceReferenceBase::GetPropertyKeys() const {
    return entry ? entry->properties()->keys() : std::vector<std::string>();
}

std::vector<Bundle> ServiceReferenceBase::GetUsingBundles() const {
    const Bundle user = entry ? entry->usingBundle() : Bundle();
    return user ? std::vector<Bundle>{user} : std::vector<Bundle>();
}

std::string ServiceReferenceBase::GetInterfaceId() const {
    return interfaceId;
}

bool ServiceReferenceBase::IsConvertibleTo(const std::string& id) const {
    return *this && entry->provides(id);
}

void ServiceReferenceBase::convertTo(const std::string& id) {
    if (interfaceId == id) {
        return;
    }
    if (IsConvertibleTo(id)) {
        interfaceId = id;
    } else {
        *this = nullptr;
    }
}

bool ServiceReferenceBase::operator==(const ServiceReferenceBase& other) const {
    return entry == other.entry;
}

bool ServiceReferenceBase::operator<(const ServiceReferenceBase& other) const {
    if (!entry || !other.entry) {
        return !entry && other.entry;
    }
    const auto preference = [](const std::shared_ptr<detail::ServiceEntry>& service) {
        return std::tuple(service->properties()->ranking(), -service->id(), service);
    };
    return preference(entry) < preference(other.entry);
}

ServiceRegistrationBase::ServiceRegistrationBase(std::shared_ptr<detail::ServiceEntry> registered)
    : entry(std::move(registered)) {}

ServiceRegistrationBase::operator bool() const {
    return entry != nullptr;
}

bool ServiceRegistrationBase::operator==(const ServiceRegistrationBase& other) const {
    return entry == other.entry;
}

detail::ServiceEntry& ServiceRegistrationBase::requireEntry() const {
    if (!entry) {
        throw std::logic_error("ServiceRegistrationBase object invalid");
    }
    if (entry->isUnregistered()) {
        throw std::logic_error("Service is unregistered");
    }
    return *entry;
}

ServiceReferenceBase ServiceRegistrationBase::GetReference(const std::string& interfaceId) const {
    requireEntry();
    return {entry, interfaceId};
}

void ServiceRegistrationBase::SetProperties(const ServiceProperties& properties) {
    requireEntry().setProperties(properties);
}

void ServiceRegistrationBase::Unregister() {
    requireEntry().unregister();
}

LDAPFilter::LDAPFilter(const std::string& text)
    : filter(std::make_shared<detail::Filter>(detail::parse_filter(text))) {}

bool LDAPFilter::Match(const ServiceReferenceBase& reference) const {
    return reference.entry && detail::matches(*filter, *reference.entry->properties());
}

} // namespace cppmicroservices
