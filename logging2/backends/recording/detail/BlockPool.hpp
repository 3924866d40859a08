#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Memory for rows.
struct Block {
    std::unique_ptr<double[]> elements;
    std::size_t elementCount = 0;
};

/// Gives out blocks up to a limit in bytes. Blocks that come back are kept for the next of their
/// size, because memory that was used before is faster. For one thread at a time.
class BlockPool {
public:
    explicit BlockPool(std::size_t byteLimit) : limit(byteLimit) {}

    /// A block of this many doubles, which are not initialised; one without elements if the limit
    /// does not allow it now. Throws std::bad_alloc.
    Block take(std::size_t elementCount);

    void giveBack(Block block) noexcept;

private:
    struct Size {
        std::vector<Block> spare;   ///< with capacity for all blocks of the size
        std::size_t blockCount = 0; ///< with those that were given out
    };

    void dropSpare() noexcept;

    std::size_t limit;
    std::size_t byteCount = 0; ///< of all blocks, also of the spare ones
    std::map<std::size_t, Size> sizes;
};

} // namespace logging2::core::detail
