#pragma once

#include <logging2/runs/runs.hpp>

#include <optional>

namespace logging2::tools::view {

/// From the least to the greatest time.
struct TimeExtent {
    double least;
    double greatest;
};

/// That of all finite times of a group; empty if there are none. Reads few steps, also if the times
/// do not ascend.
std::optional<TimeExtent> time_extent(const core::Run& run, const core::GroupInfo& group);

} // namespace logging2::tools::view
