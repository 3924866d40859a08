#pragma once

#include <string>

namespace logging2::tools {

/// What gnuplot prints when it obeys the script. Throws std::runtime_error, with gnuplot's message,
/// if gnuplot is not installed or fails.
std::string run_gnuplot(const std::string& script);

} // namespace logging2::tools
