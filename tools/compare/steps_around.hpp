#pragma once

#include <tools/selection/TimeRange.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <optional>

namespace logging2::tools {

/// The steps within the range and within the time tolerance around it, and the nearest one at
/// either side; empty if one of these steps is elsewhere because the times do not ascend.
std::optional<core::StepRange> steps_around(const core::Run& run, std::size_t group,
                                            const TimeRange& range, double timeTolerance);

} // namespace logging2::tools
