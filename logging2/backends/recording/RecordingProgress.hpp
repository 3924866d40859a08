#pragma once

#include <cstdint>
#include <functional>

namespace logging2::core {

/// Receives the progress of a long operation: how many bytes it has read, and of how many. It is
/// called on the thread of the operation, at most once per chunk. If it throws, the operation stops
/// as after an error, and throws this exception.
using RecordingProgress =
    std::function<void(std::uint64_t readByteCount, std::uint64_t totalByteCount)>;

} // namespace logging2::core
