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

/// Makes rows whose reference counts and vector objects lie side by side in blocks of 63: a row
/// costs one allocation, that of its values, and every 63rd one more.
///
/// Rows may outlive their storage and be released on any thread, as those of std::make_shared;
/// the operations of the storage are for one thread at a time. The storage keeps the blocks of the
/// newest rows, sixteen at most. Any other goes when the last of its rows is released, so a row
/// that is kept alone keeps 3 KiB.
class RowStorage {
public:
    /// Sees to a free slot. Throws std::bad_alloc.
    void makeRoom();

    /// A row of the values; there must be a free slot.
    RowHandle makeRow(std::vector<double>&& values) noexcept;

    /// The newest rows were released: the next ones get their slots. A free slot stays.
    void takeBack() noexcept;

    /// Keeps no block any more.
    void clear() noexcept;

private:
    using BlockOwner = std::unique_ptr<RowBlock, RowBlockRelease>;

    void turnToFreeBlock();

    std::array<BlockOwner, 16> blocks; // by age; the last one there is gets the next row
    std::size_t blockCount = 0;
};

} // namespace logging2::core::detail
