#pragma once

#include <tools/native/LeftOver.hpp>

namespace logging2::tools {

/// Removes the files of a left-over of this user, and nothing else. Throws UsageError, and removes
/// nothing, if a file is no longer as it was found. Throws std::system_error if a file cannot be
/// removed; the files behind it stay.
void remove_left_over(const LeftOver& leftOver);

} // namespace logging2::tools
