#pragma once

#include <logging2/backends/recording/detail/read_description.hpp>

#include <string>

namespace logging2::core::detail {

/// The description of a recording, whose data file this is. If it is damaged there, that of the
/// index, provided that what is left in the data file proves it to be the same. Throws
/// RecordingError otherwise.
DescriptionRecord find_description(const DataFile& file, const std::string& directory);

/// What one of the recording's files says about the run; without an id if neither can be read.
Description known_description(const std::string& directory);

} // namespace logging2::core::detail
