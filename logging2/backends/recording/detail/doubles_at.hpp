#pragma once

#include <cstdint>

namespace logging2::core::detail {

/// The doubles at an offset in bytes, which is a multiple of their size.
inline double* doubles_at(char* bytes, std::uint64_t offset) {
    return static_cast<double*>(static_cast<void*>(bytes + offset));
}

inline const double* doubles_at(const char* bytes, std::uint64_t offset) {
    return static_cast<const double*>(static_cast<const void*>(bytes + offset));
}

} // namespace logging2::core::detail
