#pragma once

#include <tools/exporting/Excerpt.hpp>
#include <tools/exporting/NewFiles.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <cstdint>
#include <string>

namespace logging2::tools {

/// Makes a new recording of the excerpt; the options' directory and properties are not used. Its
/// properties are those of the run, and where the excerpt comes from. Returns the number of steps.
std::uint64_t export_recording(const Excerpt& excerpt, const std::string& location,
                               core::RecordingOptions options, const NewFile& file,
                               const core::RecordingProgress& progress);

} // namespace logging2::tools
