#pragma once

#include <cstddef>

namespace logging2::core {

inline constexpr std::size_t kibibyte = 1024;
inline constexpr std::size_t mebibyte = kibibyte * kibibyte;

} // namespace logging2::core
