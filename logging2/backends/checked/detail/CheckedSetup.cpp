#include <logging2/backends/checked/detail/CheckedSetup.hpp>

#include <logging2/backends/checked/detail/wording.hpp>

#include <set>
#include <stdexcept>

namespace logging2::core::detail {
namespace {

using lang::core::ValuePath;
using std::to_string;

std::size_t value_count(const std::vector<LoggedChannel>& channels) {
    std::size_t count = 0;
    for (const LoggedChannel& channel : channels) {
        count += channel.width;
    }
    return count;
}

std::string number_of_values(std::size_t count) {
    return to_string(count) + (count == 1 ? " value" : " values");
}

/// The group to which each channel number belongs.
class ChannelOwners {
public:
    explicit ChannelOwners(const std::string& backend)
        : need(", but the back-end " + in_quotes(backend) +
               " needs channel numbers that are listed " + "once, in one group") {}

    void add(std::size_t group, const LoggedPathsSetupData& data) {
        std::set<std::size_t> listed;
        for (const LoggedChannel& channel : data.coreIds()) {
            if (!listed.insert(channel.id()).second) {
                throw std::logic_error("setup: channel " + to_string(channel.id()) +
                                       " is listed twice in group " + to_string(group) + need);
            }
            claim(channel.id(), group);
        }
        for (const LoggedPath& logged : data.paths()) {
            claim(logged.id(), group);
        }
    }

private:
    void claim(std::size_t channel, std::size_t group) {
        const std::size_t owner = owners.emplace(channel, group).first->second;
        if (owner != group) {
            throw std::logic_error("setup: channel " + to_string(channel) + " is in group " +
                                   to_string(owner) + " and in group " + to_string(group) + need);
        }
    }

    std::string need;
    std::map<std::size_t, std::size_t> owners;
};

} // namespace

CheckedSetup::CheckedSetup(const SequenceMap<Group, LoggedPathsSetupData>& setup,
                           const CheckedRules& rules) {
    ChannelOwners owners(rules.backend);
    for (const auto& [group, data] : setup) {
        groups.push_back({group.id(), value_count(data.coreIds())});
        for (const LoggedPath& logged : data.paths()) {
            addPath(group.id(), logged);
        }
        if (rules.channelsAreUnique) {
            owners.add(group.id(), data);
        }
    }
    std::sort(groups.begin(), groups.end(),
              [](const GroupRow& a, const GroupRow& b) { return a.id < b.id; });
    if (rules.groupIdsAreIndices) {
        checkIds(rules.backend);
    }
}

void CheckedSetup::addPath(std::size_t group, const LoggedPath& logged) {
    const auto [entry, isNew] = paths.emplace(logged.path, PathTarget{group, logged.id()});
    const PathTarget& former = entry->second;
    if (former.group != group) {
        throw std::logic_error("setup: the path " + in_quotes(logged.path) + " is in group " +
                               to_string(former.group) + " and in group " + to_string(group) +
                               ", but a path belongs to one group");
    }
    if (former.channel != logged.id()) {
        throw std::logic_error("setup: the path " + in_quotes(logged.path) + " shows channel " +
                               to_string(former.channel) + " and channel " +
                               to_string(logged.id()) + ", but a path shows one channel");
    }
}

void CheckedSetup::checkIds(const std::string& backend) const {
    if (!groups.empty() && groups.back().id != groups.size() - 1) {
        throw std::logic_error("setup: " + listOfGroups() + ", but the back-end " +
                               in_quotes(backend) + " needs ids that count from 0");
    }
}

void CheckedSetup::checkPath(const ValuePath& path) const {
    if (paths.count(path) != 0) {
        return;
    }
    std::vector<std::string> known;
    for (const auto& entry : paths) {
        known.push_back(in_quotes(entry.first));
    }
    throw std::logic_error("dataStore: the path " + in_quotes(path) + " is not in the setup (" +
                           listing("path", known) + ')');
}

std::string CheckedSetup::listOfGroups() const {
    std::vector<std::string> ids;
    for (const GroupRow& row : groups) {
        ids.push_back(to_string(row.id));
    }
    return listing("group", ids);
}

void CheckedSetup::failForGroup(const char* operation, std::size_t group) const {
    throw std::logic_error(std::string(operation) + ": group " + to_string(group) +
                           " is not in the setup (" + listOfGroups() + ')');
}

void CheckedSetup::failForRow(const GroupRow& row, std::size_t passedCount) {
    const std::string expected =
        "write: a row of group " + to_string(row.id) + " has " + number_of_values(row.valueCount);
    if (passedCount != row.valueCount) {
        throw std::logic_error(expected + ", but " + number_of_values(passedCount) +
                               (passedCount == 1 ? " was passed" : " were passed"));
    }
    throw std::logic_error(expected + ", but a null pointer was passed");
}

} // namespace logging2::core::detail
