#pragma once

#include <cstddef>

namespace logging2::core {

/// What a columnar writer does when its samples would take more memory than they may.
enum class BeyondLimit {
    /// `write` throws std::length_error and stores nothing. That may also happen to a step that
    /// goes back in time, if a reader still holds what it replaces.
    refuse,
    /// The oldest steps of all groups are discarded. At least the newest piece of each group stays.
    /// Nothing is refused if the limit is at least twice the number of groups times the bytes of
    /// the longest row, its time and 64 bytes more.
    discardOldest
};

/// How a columnar writer keeps samples. Every member has a default.
struct ColumnarOptions {
    /// How many bytes of memory the samples of a writer may take, with room for further ones. 0
    /// means no limit. Samples that only readers still hold do not count, and neither does free
    /// memory between pieces. With groups of very different widths, the free memory can reach the
    /// limit plus 16 MiB.
    std::size_t byteLimit = 0;

    /// What happens beyond the limit. The oldest steps are discarded in pieces, at least a 64th of
    /// the limit at a time.
    BeyondLimit beyondLimit = BeyondLimit::refuse;
};

} // namespace logging2::core
