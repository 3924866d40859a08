#pragma once

#include <cstddef>

namespace logging2::core::detail {

/// How many rows a group's buffer takes before it is handed to the background thread: as many as
/// fit into 64 MiB with one double for the time and one per logged path, at least one.
///
/// Intended: paths are counted, not doubles, so the buffer of a group with wide channels is larger
/// than 64 MiB, in proportion to the mean width of its channels.
constexpr std::size_t row_capacity(std::size_t pathCount) {
    constexpr std::size_t bufferByteCount = std::size_t{64} * 1024 * 1024;
    const std::size_t rowByteCount = sizeof(double) * (pathCount + 1);
    return rowByteCount <= bufferByteCount ? bufferByteCount / rowByteCount : 1;
}

} // namespace logging2::core::detail
