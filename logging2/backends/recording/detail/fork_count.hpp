#pragma once

namespace logging2::core::detail {

/// How many forks led to this process since the library was loaded: a number that a forked child
/// has one more of than its parent. Any thread may call.
unsigned fork_count() noexcept;

} // namespace logging2::core::detail
