#pragma once

#include <tools/exporting/ColumnOutput.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <cstdint>

namespace logging2::tools {

/// Writes the groups column by column, and holds a few megabytes of them. Returns the number of
/// steps.
std::uint64_t export_columns(const Excerpt& excerpt, ColumnOutput& output,
                             const core::RecordingProgress& progress);

} // namespace logging2::tools
