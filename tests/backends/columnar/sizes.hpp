#pragma once

#include <cstddef>

namespace logging2::core {

inline constexpr std::size_t kibibyte = 1024;
inline constexpr std::size_t mebibyte = kibibyte * kibibyte;

/// How many random sequences a test runs.
#ifdef LOGGING2_SANITIZED
inline constexpr unsigned sequenceCount = 2000;
#else
inline constexpr unsigned sequenceCount = 20000;
#endif

} // namespace logging2::core
