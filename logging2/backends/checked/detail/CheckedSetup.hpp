#pragma once

#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// The rules of a checked back-end: CheckedOptions with a value for every member.
struct CheckedRules {
    /// The name of the back-end that stores the samples.
    std::string backend;
    bool groupIdsAreIndices;
    bool channelsAreUnique;
    bool closeFlushes;
    bool refusesRollback;
};

/// The groups and paths of a setup, and the checks that need them. A check that fails throws
/// std::logic_error.
class CheckedSetup {
public:
    /// Checks the setup and copies what the other checks need.
    CheckedSetup(const SequenceMap<Group, LoggedPathsSetupData>& setup, const CheckedRules& rules);

    /// Checks that the group is in the setup.
    void checkGroup(const char* operation, std::size_t group) const {
        if (find(group) == nullptr) {
            failForGroup(operation, group);
        }
    }

    /// Checks that the group of `write` is in the setup and that the row has the group's length.
    void checkRow(std::size_t group, const double* values, std::size_t n) const {
        const GroupRow* const row = find(group);
        if (row == nullptr) {
            failForGroup("write", group);
        }
        if (n != row->valueCount || (values == nullptr && n != 0)) {
            failForRow(*row, n);
        }
    }

    /// Checks that the path of `dataStore` is in the setup.
    void checkPath(const lang::core::ValuePath& path) const;

private:
    struct GroupRow {
        std::size_t id;
        std::size_t valueCount;
    };

    /// The group and the channel that a path shows.
    struct PathTarget {
        std::size_t group;
        std::size_t channel;
    };

    /// Returns the group, or null if there is none. Takes constant time if the ids count from 0.
    const GroupRow* find(std::size_t group) const {
        if (group < groups.size() && groups[group].id == group) {
            return &groups[group];
        }
        const auto found =
            std::lower_bound(groups.begin(), groups.end(), group,
                             [](const GroupRow& row, std::size_t id) { return row.id < id; });
        return found != groups.end() && found->id == group ? &*found : nullptr;
    }

    void addPath(std::size_t group, const LoggedPath& logged);
    void checkIds(const std::string& backend) const;
    std::string listOfGroups() const;

    [[noreturn]] void failForGroup(const char* operation, std::size_t group) const;
    [[noreturn]] static void failForRow(const GroupRow& row, std::size_t passedCount);

    std::vector<GroupRow> groups; // by ascending id
    std::map<lang::core::ValuePath, PathTarget> paths;
};

} // namespace logging2::core::detail
