#include <logging2/backends/columnar/detail/PathIndex.hpp>

#include <boost/unordered_map.hpp>

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace logging2::core::detail {
namespace {

using Entries = std::vector<PathIndex::Entry>;

bool comes_first(const PathIndex::Entry& left, const PathIndex::Entry& right) {
    const int order = compare(*left.path, *right.path);
    return order != 0 ? order < 0
                      : std::tie(left.group, left.channel) < std::tie(right.group, right.channel);
}

void add_paths(const LoggedPathsSetupData& data, std::uint32_t group, Entries& entries) {
    boost::unordered_map<std::size_t, std::uint32_t> channels;
    std::uint32_t channel = 0;
    for (const LoggedChannel& logged : data.coreIds()) {
        channels.emplace(logged.id(), channel++);
    }
    for (const LoggedPath& logged : data.paths()) {
        const auto found = channels.find(logged.id());
        if (found != channels.end()) {
            entries.push_back({&logged.path, group, found->second});
        }
    }
}

} // namespace

PathIndex::PathIndex(Setup groupSetup) : described(std::move(groupSetup)) {
    std::uint32_t group = 0;
    for (const auto& [key, data] : described) {
        add_paths(data, group++, sorted);
    }
    std::sort(sorted.begin(), sorted.end(), comes_first);
    const auto isSame = [](const Entry& left, const Entry& right) {
        return *left.path == *right.path;
    };
    sorted.erase(std::unique(sorted.begin(), sorted.end(), isSame), sorted.end());
    sorted.shrink_to_fit();
}

const PathIndex::Entry& PathIndex::find(const lang::core::ValuePath& path) const {
    const auto found = std::lower_bound(
        sorted.begin(), sorted.end(), path,
        [](const Entry& entry, const lang::core::ValuePath& value) { return *entry.path < value; });
    if (found == sorted.end() || *found->path != path) {
        throw std::out_of_range("there is no signal \"" + path.text() + '"');
    }
    return *found;
}

} // namespace logging2::core::detail
