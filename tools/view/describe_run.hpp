#pragma once

#include <tools/terminal/json.hpp>
#include <tools/view/time_extent.hpp>

#include <logging2/runs/runs.hpp>

#include <string>

namespace logging2::tools::view {

/// Everything about a run but its samples. The location is that of its recording.
Json run_description(const std::string& id, const core::Run& run, const std::string& location);

/// What changes while the run is being written. The extents are those of the same run.
Json run_progress(const std::string& id, const core::Run& run, const std::string& location,
                  TimeExtents& extents);

} // namespace logging2::tools::view
