#include "Registry.hpp"

#include "Filter.hpp"

#include <cppmicroservices/IllegalStateException.h>

#include <algorithm>
#include <utility>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {
namespace {

/// Sorts by ranking. Another thread may change a ranking meanwhile, so each is read only once.
void sort_by_preference(Registry::Entries& entries) {
    std::vector<std::pair<int, std::shared_ptr<ServiceEntry>>> ranked;
    for (auto& entry : entries) {
        ranked.emplace_back(entry->properties()->ranking(), std::move(entry));
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& left, const auto& right) { return left.first > right.first; });
    std::transform(ranked.begin(), ranked.end(), entries.begin(),
                   [](auto& pair) { return std::move(pair.second); });
}

} // namespace

Registry::Registry(std::weak_ptr<FrameworkCore> owner) : core(std::move(owner)) {}

bool Registry::isOpen() const {
    const std::scoped_lock lock(mutex);
    return open;
}

void Registry::close() {
    Entries ended;
    {
        const std::scoped_lock lock(mutex);
        open = false;
        ended.swap(entries);
    }
    for (const auto& entry : ended) {
        entry->retire();
    }
}

std::shared_ptr<FrameworkCore> Registry::framework() const {
    return core.lock();
}

std::shared_ptr<ServiceEntry> Registry::add(ServiceSource source,
                                            const ServiceProperties& properties) {
    long id = 0;
    {
        const std::scoped_lock lock(mutex);
        id = ++lastServiceId;
    }
    auto entry =
        std::make_shared<ServiceEntry>(id, std::move(source), properties, weak_from_this());
    const std::scoped_lock lock(mutex);
    if (!open) {
        throw IllegalStateException("The bundle context is no longer valid");
    }
    const auto later = std::find_if(entries.begin(), entries.end(),
                                    [id](const auto& other) { return other->id() > id; });
    entries.insert(later, entry);
    return entry;
}

void Registry::remove(const ServiceEntry& entry) {
    const std::scoped_lock lock(mutex);
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&](const auto& other) { return other.get() == &entry; }),
                  entries.end());
}

Registry::Entries Registry::entriesOf(const std::string& interfaceId) const {
    Entries result;
    const std::scoped_lock lock(mutex);
    std::copy_if(
        entries.begin(), entries.end(), std::back_inserter(result),
        [&](const auto& entry) { return interfaceId.empty() || entry->provides(interfaceId); });
    return result;
}

Registry::Entries Registry::find(const std::string& interfaceId,
                                 const std::string& filterText) const {
    Entries found = entriesOf(interfaceId);
    const bool nothingToFilter = found.empty() && !interfaceId.empty();
    if (!filterText.empty() && !nothingToFilter) {
        const Filter filter = parse_filter(filterText);
        found.erase(std::remove_if(
                        found.begin(), found.end(),
                        [&](const auto& entry) { return !matches(filter, *entry->properties()); }),
                    found.end());
    }
    sort_by_preference(found);
    return found;
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
