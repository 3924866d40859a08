#pragma once

#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace logging2::core::detail {

/// Which column each logged path shows.
class PathIndex {
public:
    /// A path and its column. A path that occurs more than once shows the column that comes first:
    /// that of the first group, and there of the first channel.
    struct Entry {
        const lang::core::ValuePath* path;
        std::uint32_t group;   ///< position in the setup
        std::uint32_t channel; ///< position in the row
    };

    using Setup = SequenceMap<Group, LoggedPathsSetupData>;

    /// Paths of unknown channels are left out.
    explicit PathIndex(Setup groupSetup);

    const Setup& setup() const noexcept { return described; }

    /// Throws std::out_of_range, with the path in its message, if there is no such path.
    const Entry& find(const lang::core::ValuePath& path) const;

    /// Ordered by path.
    const std::vector<Entry>& entries() const noexcept { return sorted; }

private:
    const Setup described; // has the paths
    std::vector<Entry> sorted;
};

} // namespace logging2::core::detail
