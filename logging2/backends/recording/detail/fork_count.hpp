#pragma once

#include <atomic>

namespace logging2::core::detail {

/// How many forks led to this process since the library was loaded; use fork_count().
extern std::atomic<unsigned> forkCount;

/// A number that a forked child has one more of than its parent. Any thread may call.
inline unsigned fork_count() noexcept {
    return forkCount.load(std::memory_order_relaxed);
}

} // namespace logging2::core::detail
