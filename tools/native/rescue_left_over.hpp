#pragma once

#include <tools/commands/new_recording.hpp>
#include <tools/native/LeftOver.hpp>
#include <tools/native/layout.hpp>

#include <cstdint>
#include <map>

namespace logging2::tools {

/// Makes a recording of the complete steps of a left-over, which stays as it is. Returns the steps
/// of each group.
///
/// Throws UsageError if the layout does not fit or a file changes meanwhile, std::system_error,
/// core::RecordingError, and what the progress throws. Then nothing is left of the recording.
std::map<std::size_t, StepCounts> rescue_left_over(const LeftOver& leftOver, const Layout& layout,
                                                   const NewRecording& recording,
                                                   const core::RecordingProgress& progress);

} // namespace logging2::tools
