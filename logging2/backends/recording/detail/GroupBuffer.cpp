#include <logging2/backends/recording/detail/GroupBuffer.hpp>

#include <algorithm>

namespace logging2::core::detail {

std::size_t GroupBuffer::rowsNotLaterThan(double time) const noexcept {
    const std::size_t count = rowCount.load(std::memory_order_relaxed);
    std::size_t kept = ascends ? count : 0;
    if (ascends) {
        while (kept > 0 && *row(kept - 1) > time) {
            --kept;
        }
    } else {
        while (kept < count && !(*row(kept) > time)) {
            ++kept;
        }
    }
    return kept;
}

double GroupBuffer::greatestTime() const noexcept {
    double greatest = greatestBefore;
    const std::size_t count = rowCount.load(std::memory_order_relaxed);
    for (std::size_t index = ascends && count > 0 ? count - 1 : 0; index < count; ++index) {
        const double time = *row(index);
        greatest = time > greatest ? time : greatest;
    }
    return greatest;
}

} // namespace logging2::core::detail
