#pragma once

#include <string>

namespace logging2::tools {

/// Whether a directory contains a file of a recording.
bool is_recording(const std::string& location);

/// Throws UsageError if what is made at this place would lie in a recording.
void check_outside_recordings(const std::string& place);

} // namespace logging2::tools
