#include <cppmicroservices/BundleContext.h>

#include "detail/Registry.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cppmicroservices {
namespace {

/// Throws `std::invalid_argument` if an interface identifier is empty or an object is null.
detail::ServiceSource source_of(const InterfaceMapConstPtr& objects) {
    detail::ServiceSource source{{}, objects, nullptr};
    for (const auto& [id, object] : *objects) {
        if (id.empty() || !object) {
            throw std::invalid_argument("Can't register as null class");
        }
        source.interfaceIds.push_back(id);
    }
    std::sort(source.interfaceIds.begin(), source.interfaceIds.end());
    return source;
}

/// Returns the object under the interface, or null if there is none.
void* object_in(const InterfaceMapConstPtr& objects, const std::string& interfaceId) {
    if (!objects) {
        return nullptr;
    }
    const auto found = objects->find(interfaceId);
    return found == objects->end() ? nullptr : found->second.get();
}

} // namespace

BundleContext::BundleContext(std::shared_ptr<detail::Registry> shared)
    : registry(std::move(shared)) {}

BundleContext::operator bool() const {
    return registry && registry->isOpen();
}

detail::Registry& BundleContext::requireRegistry() const {
    if (!*this) {
        throw IllegalStateException("The bundle context is no longer valid");
    }
    return *registry;
}

ServiceRegistrationU BundleContext::registerObjects(const InterfaceMapConstPtr& objects,
                                                    const ServiceProperties& properties) {
    detail::Registry& services = requireRegistry();
    return ServiceRegistrationBase(services.add(source_of(objects), properties));
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

// Intended: the returned pointers share ownership of the use, not of the object that they point to.
// A null pointer still owns its empty use, so its use_count() is 1.
std::shared_ptr<void> BundleContext::objectOf(const ServiceReferenceBase& reference) const {
    const auto use = requireUse(reference);
    return {use, object_in(use->objects(), reference.interfaceId)};
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

} // namespace cppmicroservices
