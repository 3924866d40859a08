#pragma once

#include <array>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace logging2::core::detail {

class Arena;

/// Memory from which an arena cuts blocks. Used by the arena only.
struct Chunk {
    Arena* arena;
    std::shared_ptr<double[]> memory;
    std::byte* first;
    std::size_t byteCount;
    std::size_t cutByteCount = 0;   ///< the rest was never given out
    std::size_t inUseByteCount = 0; ///< of blocks
};

/// Memory for a piece of a group's samples.
struct Block {
    std::byte* first;
    std::size_t byteCount;
    Chunk* chunk;
};

/// Gives out blocks of memory. They are cut from chunks, which consist of large pages where the
/// system offers them; only the first chunks are small.
///
/// A block that was given back is used again. A chunk whose blocks have all been given back is
/// freed, except the newest one. Blocks may outlive the owner of the arena: the arena lives until
/// the last block is given back.
///
/// Threads: any thread may call any operation.
class Arena {
public:
    struct Leave {
        void operator()(Arena* arena) const noexcept { arena->leave(); }
    };
    using Owner = std::unique_ptr<Arena, Leave>;

    /// Blocks begin at multiples of this number of bytes and have a multiple of this many bytes.
    static constexpr std::size_t unit = 32;

    static Owner make() { return Owner(new Arena); }

    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// A block of `wanted` bytes, rounded up. It may be smaller, but not smaller than `least`, or
    /// larger by less than `least`, if memory would be left over otherwise. Throws std::bad_alloc.
    Block take(std::size_t least, std::size_t wanted);

    /// Takes back all but the first byteCount bytes of the block, rounded up.
    static void shrink(Block& block, std::size_t byteCount) noexcept;

    /// Takes the block back.
    static void giveBack(const Block& block) noexcept;

private:
    /// Lies at the beginning of each free block.
    struct FreeBlock {
        FreeBlock* previous;
        FreeBlock* next;
        std::size_t byteCount;
        Chunk* chunk;
    };

    Arena() = default;
    ~Arena() = default;

    void leave() noexcept;
    void addChunk(std::size_t least, std::size_t wanted);
    Block cut(std::size_t wanted) noexcept;
    FreeBlock* findFree(std::size_t byteCount) const noexcept;
    FreeBlock* findOrMerge(std::size_t enough, std::size_t wanted);
    FreeBlock* findSmaller(std::size_t enough, std::size_t wanted) const noexcept;
    Block reuse(FreeBlock& found, std::size_t wanted) noexcept;
    void release(const Block& block) noexcept;
    void clear(Chunk& chunk) noexcept;
    void merge();
    std::vector<FreeBlock*> sortedFreeBlocks() const;
    void link(const Block& block) noexcept;
    void unlink(FreeBlock& block) noexcept;

    // The mutex guards all members and the chunks.
    std::mutex mutex;
    std::list<Chunk> chunks;                 // new blocks are cut from the last one
    std::array<FreeBlock*, 64> freeBlocks{}; // lists, by the logarithm of the size
    std::size_t madeByteCount = 0;           // of all chunks ever made
    std::size_t blockCount = 0;              // of blocks that are in use
    std::size_t linkedByteCount = 0;         // of blocks that became free since the last merge
    bool isLeft = false;
};

} // namespace logging2::core::detail
