#pragma once

#include <cstddef>

namespace logging2::core::detail {

/// Returns the number of rows at which a group's buffer is full: as many rows as fit into 64 MiB if
/// each row has one double for the time and one per logged path, but at least one.
///
/// Intended: paths are counted, not doubles. The buffer of a group with wide channels is larger
/// than 64 MiB, in proportion to the mean width of its channels.
constexpr std::size_t row_capacity(std::size_t pathCount) {
    constexpr std::size_t bufferByteCount = std::size_t{64} * 1024 * 1024;
    const std::size_t rowByteCount = sizeof(double) * (pathCount + 1);
    return rowByteCount <= bufferByteCount ? bufferByteCount / rowByteCount : 1;
}

} // namespace logging2::core::detail
