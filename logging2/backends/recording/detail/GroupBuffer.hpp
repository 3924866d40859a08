#pragma once

#include <logging2/backends/recording/detail/BlockPool.hpp>

#include <atomic>
#include <cstddef>
#include <limits>
#include <optional>

namespace logging2::core::detail {

/// The newest rows of one group, in a block that is being filled, and what is known of the steps
/// before it.
///
/// The writing thread fills rows without a lock and publishes each through rowCount; the storing
/// thread reads rows before rowCount only. Everything else that both threads use is guarded by the
/// engine's mutex.
struct GroupBuffer {
    std::size_t id = 0;
    std::size_t position = 0;  ///< in the description
    std::size_t rowLength = 1; ///< in doubles, with the time
    std::size_t rowsPerBlock = 0;

    Block block;                          ///< none before the first row and after a full one
    std::size_t capacity = 0;             ///< rows that the block holds; 0 without a block
    std::atomic<std::size_t> rowCount{0}; ///< rows in the block
    std::size_t firstStep = 0;            ///< of the block

    // Of the writing thread alone.
    bool ascends = true; ///< the times in the block, none of which is NaN then
    double greatestBefore = -std::numeric_limits<double>::infinity(); ///< of steps before the block
    double lastTimeBefore = 0; ///< of the step before the block, if there is one

    // Guarded by the engine's mutex.
    std::size_t takenCount = 0; ///< rows of the block that are stored, or are being stored
    std::optional<std::size_t> discardFrom; ///< stored steps that are to be discarded begin there

    double* row(std::size_t index) const noexcept {
        return block.elements.get() + index * rowLength;
    }
    std::size_t stepCount() const noexcept {
        return firstStep + rowCount.load(std::memory_order_relaxed);
    }
    double lastTime() const noexcept {
        const std::size_t count = rowCount.load(std::memory_order_relaxed);
        return count == 0 ? lastTimeBefore : *row(count - 1);
    }

    /// The number of rows of the block that a rollback to the time keeps.
    std::size_t rowsNotLaterThan(double time) const noexcept;

    /// The greatest time of all steps; a NaN does not count.
    double greatestTime() const noexcept;
};

} // namespace logging2::core::detail
