#pragma once

#include <tools/native/LeftOver.hpp>

#include <string>
#include <vector>

namespace logging2::tools {

/// What was found in a directory.
struct FoundLeftOvers {
    std::vector<LeftOver> leftOvers;
    /// The directories of other users that could not be read.
    std::vector<std::string> unreadable;
    /// Whether there are more files than may be examined.
    bool isCut = false;
};

/// The greatest number of files that are examined, because others may have made the files.
constexpr std::size_t mostFiles = 200'000;

/// Finds the left-overs in a directory and in the writers' directories directly in it. Reads no
/// contents of files. Throws std::system_error if the directory itself cannot be read.
FoundLeftOvers find_left_overs(const std::string& directory, std::size_t fileLimit = mostFiles);

} // namespace logging2::tools
