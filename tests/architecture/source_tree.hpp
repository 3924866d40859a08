#pragma once

#include <string>

namespace logging2::core::test {

/// The folder of the sources.
inline const std::string sourceTree = LOGGING2_SOURCE_DIR;

} // namespace logging2::core::test
