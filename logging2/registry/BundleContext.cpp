#include <cppmicroservices/BundleContext.h>

#include "detail/Registry.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cppmicroservices {
namespace {

/// Throws `std::invalid_argument` for what cannot be registered.
detail::ServiceSource source_of(const InterfaceMapConstPtr& service) {
    if (!service || service->empty()) {
        throw std::invalid_argument("Can't register empty InterfaceMap as a service");
    }
    detail::ServiceSource source{{}, service, nullptr};
    for (const auto& [id, object] : *service) {
        if (id.empty() || !object) {
            throw std::invalid_argument("Can't register as null class");
        }
        source.interfaceIds.push_back(id);
    }
    std::sort(source.interfaceIds.begin(), source.interfaceIds.end());
    return source;
}

/// The object under the interface, any object if none is named; null when there is none.
void* object_in(const InterfaceMapConstPtr& objects, const std::string& interfaceId) {
    if (!objects) {
        return nullptr;
    }
    const auto found = interfaceId.empty() ? objects->begin() : objects->find(interfaceId);
    return found == objects->end() ? nullptr : found->second.get();
}

} // namespace

BundleContext::BundleContext(std::shared_ptr<detail::Registry> shared)
    : registry(std::move(shared)) {}

BundleContext::operator bool() const {
    return registry && registry->isOpen();
}

bool BundleContext::operator==(const BundleContext& other) const {
    return registry == other.registry;
}

bool BundleContext::operator!=(const BundleContext& other) const {
    return !(*this == other);
}

detail::Registry& BundleContext::requireRegistry() const {
    if (!*this) {
        throw IllegalStateException("The bundle context is no longer valid");
    }
    return *registry;
}

ServiceRegistrationU BundleContext::RegisterService(const InterfaceMapConstPtr& service,
                                                    const ServiceProperties& properties) {
    detail::Registry& services = requireRegistry();
    return ServiceRegistrationBase(services.add(source_of(service), properties));
}

ServiceRegistrationU BundleContext::registerFactory(const std::vector<std::string>& interfaceIds,
                                                    const std::shared_ptr<ServiceFactory>& factory,
                                                    const ServiceProperties& properties) {
    if (!factory) {
        throw ServiceException("The service factory argument must not be nullptr.");
    }
    return ServiceRegistrationBase(
        requireRegistry().add({interfaceIds, nullptr, factory}, properties));
}

std::vector<ServiceReferenceU> BundleContext::GetServiceReferences(const std::string& interfaceId,
                                                                   const std::string& filter) {
    std::vector<ServiceReferenceU> references;
    for (const auto& entry : requireRegistry().find(interfaceId, filter)) {
        references.emplace_back(ServiceReferenceBase(entry, interfaceId));
    }
    return references;
}

ServiceReferenceU BundleContext::GetServiceReference(const std::string& interfaceId) {
    const auto found = GetServiceReferences(interfaceId);
    return found.empty() ? ServiceReferenceU() : found.front();
}

// Intended: pointers that the caller gets share ownership of the use, not of what they point to.
// A null one still owns its (empty) use, hence the count of 1.
std::shared_ptr<void> BundleContext::GetService(const ServiceReferenceBase& reference) {
    const auto use = requireUse(reference);
    return {use, object_in(use->objects(), reference.interfaceId)};
}

InterfaceMapConstPtr BundleContext::GetService(const ServiceReferenceU& reference) {
    const auto use = requireUse(reference);
    return {use, use->objects().get()};
}

std::shared_ptr<detail::ServiceUse>
BundleContext::requireUse(const ServiceReferenceBase& reference) const {
    const auto requireAlive = [](bool alive) {
        if (!alive) {
            throw std::invalid_argument("Default constructed ServiceReference is not a valid "
                                        "input to GetService()");
        }
    };
    requireAlive(static_cast<bool>(reference));
    requireRegistry();
    auto use = reference.entry->use();
    requireAlive(use != nullptr);
    return use;
}

ListenerToken BundleContext::AddFrameworkListener(const FrameworkListener& listener) {
    return requireRegistry().addListener(listener);
}

void BundleContext::RemoveListener(ListenerToken token) {
    requireRegistry().removeListener(token);
}

ListenerToken::ListenerToken(ListenerTokenId given) : id(given) {}

ListenerToken::ListenerToken(ListenerToken&& other) noexcept : id(std::exchange(other.id, 0)) {}

ListenerToken& ListenerToken::operator=(ListenerToken&& other) noexcept {
    id = std::exchange(other.id, 0);
    return *this;
}

ListenerToken::operator bool() const {
    return id != 0;
}

} // namespace cppmicroservices
