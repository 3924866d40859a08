#pragma once

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>

namespace logging2::tools::view {

/// From the least to the greatest time.
struct TimeExtent {
    double least;
    double greatest;
};

/// That of all finite times of a group; empty if there are none. If the group has a signal and no
/// infinite times, it costs as much as a summary, and reads no steps. Otherwise it searches, which
/// takes time in proportion to how often the times go back.
std::optional<TimeExtent> time_extent(const core::Run& run, const core::GroupInfo& group,
                                      const core::SignalInfo* signalOfGroup);

/// The extents of the groups of one run that grows. Steps that were added are read if they are few.
class TimeExtents {
public:
    /// As time_extent(). The revision is that of the run.
    std::optional<TimeExtent> of(const core::Run& run, std::uint64_t revision,
                                 const core::GroupInfo& group,
                                 const core::SignalInfo* signalOfGroup);

private:
    struct Known {
        std::uint64_t revision;
        std::size_t stepCount;
        std::optional<TimeExtent> extent;
    };

    std::map<std::size_t, Known> groups; ///< by their ids
};

/// By the id of the group, the signal whose summary is the cheapest. The signals must outlive it.
std::map<std::size_t, const core::SignalInfo*>
narrowest_signals(const std::vector<core::SignalInfo>& signals);

} // namespace logging2::tools::view
