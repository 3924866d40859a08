#pragma once

#include <benchmarks/workload/Workload.hpp>

#include <algorithm>
#include <cstddef>

namespace logging2::core::bench {

/// Returns the number of steps per group that the contenders with rings keep.
inline std::size_t ring_size(const Workload& workload) {
    return std::clamp<std::size_t>(workload.stepCount / 10, 1, 10'000);
}

} // namespace logging2::core::bench
