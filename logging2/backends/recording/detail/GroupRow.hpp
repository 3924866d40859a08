#pragma once

#include <cstddef>
#include <cstdint>

namespace logging2::core::detail {

/// What the index says about the stored steps of a group.
struct GroupRow {
    std::size_t stepCount = 0;
    std::size_t shownStepCount = 0; ///< those that readers see while the run goes on
    std::uint64_t chunkHashSum = 0; ///< of the hashes of its chunks' rows, which wraps around
};

} // namespace logging2::core::detail
