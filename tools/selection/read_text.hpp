#pragma once

#include <istream>
#include <string>

namespace logging2::tools {

/// All bytes of a file that a user has written. Throws UsageError with this name if the file cannot
/// be read, or has more than 16 MiB.
std::string read_text(std::istream& file, const std::string& name);

} // namespace logging2::tools
