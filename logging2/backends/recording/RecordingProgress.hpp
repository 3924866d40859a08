#pragma once

#include <cstdint>
#include <functional>

namespace logging2::core {

/// Told by long operations how many bytes of how many they have read. It is called on the thread of
/// the operation, at most once per chunk. If it throws, the operation ends with this exception, as
/// after an error.
using RecordingProgress =
    std::function<void(std::uint64_t readByteCount, std::uint64_t totalByteCount)>;

} // namespace logging2::core
