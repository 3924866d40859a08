#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace logging2::core::detail {

/// What the index says about a chunk.
struct ChunkRow {
    std::uint64_t sequence = 0; ///< that of its record
    std::size_t group = 0;      ///< position in the description
    std::size_t firstStep = 0;
    std::size_t stepCount = 0;       ///< those that belong to the run
    std::size_t storedStepCount = 0; ///< those in the file; later ones were discarded
    std::uint64_t offset = 0;        ///< of its record's header
    std::uint64_t byteCount = 0;     ///< with the header
    double firstTime = 0;
    double lastTime = 0;
    double leastTime = std::numeric_limits<double>::infinity();     ///< of those that are not NaN
    double greatestTime = -std::numeric_limits<double>::infinity(); ///< of those that are not NaN
    std::size_t nanTimeCount = 0;
    bool ascends = true; ///< no time is less than the one before it, and none is NaN
    double greatestSoFar = -std::numeric_limits<double>::infinity(); ///< also of earlier chunks
};

/// Consecutive samples of one chunk.
struct SampleSpan {
    const ChunkRow* chunk = nullptr;
    std::size_t first = 0; ///< in the chunk
    std::size_t count = 0;
};

/// What a row says about its record: all that tells it from other records.
using RecordKey = std::array<std::uint64_t, 6>;

inline RecordKey record_of(const ChunkRow& row) {
    return {row.sequence, row.group, row.firstStep, row.storedStepCount, row.offset, row.byteCount};
}

/// Whether both describe the same samples.
inline bool is_same_chunk(const ChunkRow& a, const ChunkRow& b) {
    return a.sequence == b.sequence && a.stepCount == b.stepCount;
}

} // namespace logging2::core::detail
