#pragma once

#include <logging2/runs/runs.hpp>

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

/// By the id of the group, the signal whose summary is the cheapest. The signals must outlive it.
std::map<std::size_t, const core::SignalInfo*>
narrowest_signals(const std::vector<core::SignalInfo>& signals);

} // namespace logging2::tools::view
