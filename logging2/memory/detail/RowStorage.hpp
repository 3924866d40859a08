#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// The handle of one row.
using RowHandle = std::shared_ptr<std::vector<double>>;

class RowBlock;

struct RowBlockRelease {
    void operator()(RowBlock* block) const noexcept;
};

/// Makes rows whose reference counts and vector objects lie side by side in blocks of 63. A row
/// costs one allocation for its values, and every 63rd row costs one more for a block.
///
/// Rows may outlive their storage and be released on any thread, like those of std::make_shared.
/// Only one thread at a time may call the operations of the storage.
///
/// The storage keeps the blocks of the newest rows, at most sixteen. Any other block is freed when
/// the last of its rows is released, so a single row that is kept holds 3 KiB.
class RowStorage {
public:
    /// Makes sure that there is a free slot. Throws std::bad_alloc.
    void makeRoom();

    /// Returns a row of the values. There must be a free slot.
    RowHandle makeRow(std::vector<double>&& values) noexcept;

    /// Must be called after the newest rows were released, so that the next rows use their slots.
    /// If there was a free slot, there still is one.
    void takeBack() noexcept;

    /// Stops keeping all blocks.
    void clear() noexcept;

private:
    using BlockOwner = std::unique_ptr<RowBlock, RowBlockRelease>;

    void turnToFreeBlock();

    std::array<BlockOwner, 16> blocks; // oldest first; the newest one gets the next row
    std::size_t blockCount = 0;
};

} // namespace logging2::core::detail
