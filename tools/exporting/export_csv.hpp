#pragma once

#include <tools/exporting/Excerpt.hpp>
#include <tools/terminal/Terminal.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <cstdint>

namespace logging2::tools {

/// Prints the groups as comma-separated values, one after the other or merged by time, with an
/// empty line between them. Returns the number of rows.
std::uint64_t export_csv(const Excerpt& excerpt, bool merges, const Terminal& terminal,
                         const core::RecordingProgress& progress);

} // namespace logging2::tools
