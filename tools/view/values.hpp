#pragma once

#include <tools/terminal/json.hpp>

#include <logging2/runs/runs.hpp>

#include <string>
#include <vector>

namespace logging2::tools::view {

/// For each of the signals the last step up to the time, and the first one after it, with all
/// elements. Throws HttpError with status 404 if the run has no such signal.
Json values_at(const core::Run& run, const std::vector<std::string>& signals, double time);

} // namespace logging2::tools::view
