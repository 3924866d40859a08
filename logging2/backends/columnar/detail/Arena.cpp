#include <logging2/backends/columnar/detail/Arena.hpp>

#include <logging2/columns/storage.hpp>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>

namespace logging2::core::detail {

namespace {

constexpr std::size_t largePage = std::size_t{2} * 1024 * 1024;
constexpr std::size_t leastChunkByteCount = std::size_t{64} * 1024;

/// Rows of more bytes each do not share chunks with others.
constexpr std::size_t wideByteCount = std::size_t{256} * 1024;

/// From this size on, make_large_array() asks for large pages.
constexpr std::size_t largeChunkByteCount = std::size_t{4} * 1024 * 1024;

std::size_t rounded_up(std::size_t byteCount) {
    if (byteCount > SIZE_MAX / 2) {
        throw std::bad_alloc();
    }
    return (byteCount + Arena::unit - 1) / Arena::unit * Arena::unit;
}

std::size_t next_multiple(std::size_t byteCount, std::size_t factor) {
    return (byteCount + factor - 1) / factor * factor;
}

/// How many bytes a chunk gets for blocks of `least` to `wanted` bytes, if possible the usual
/// number. The end of the chunk that is too small for a block is lost, so it must be short.
std::size_t chunk_byte_count(std::size_t least, std::size_t wanted, std::size_t usual) {
    if (wanted <= usual && least <= usual / 64) {
        return usual;
    }
    if (least > wideByteCount) {
        return wanted;
    }
    const std::size_t longest = usual < largeChunkByteCount ? 0 : 4 * largeChunkByteCount;
    for (std::size_t each = next_multiple(std::max(usual, wanted), largePage); each <= longest;
         each += largePage) {
        if (each % least <= each / 100) {
            return each;
        }
    }
    // Small pages at the end of the chunk are slower, but take less memory.
    return next_multiple(usual, wanted);
}

std::size_t list_of(std::size_t byteCount) noexcept {
    return static_cast<std::size_t>(63 - __builtin_clzll(byteCount));
}

std::byte* aligned(double* elements) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(elements);
    return reinterpret_cast<std::byte*>(elements) +
           (Arena::unit - address % Arena::unit) % Arena::unit;
}

} // namespace

Block Arena::take(std::size_t least, std::size_t wanted) {
    least = rounded_up(least);
    wanted = rounded_up(wanted);
    const std::lock_guard<std::mutex> lock(mutex);
    // A much smaller piece would cost more than the memory that it saves.
    const std::size_t enough = std::min(wanted, std::max(least, wanted / 32));
    const std::size_t rest =
        chunks.empty() ? 0 : chunks.back().byteCount - chunks.back().cutByteCount;
    FreeBlock* const found = rest < enough ? findOrMerge(enough, wanted) : findFree(wanted);
    if (found != nullptr) {
        // A rest that is too short for a row is not left over.
        const bool leavesRow = found->byteCount >= wanted + least;
        return reuse(*found, leavesRow ? wanted : found->byteCount);
    }
    if (rest < enough) {
        addChunk(least, wanted);
    }
    return cut(wanted);
}

void Arena::addChunk(std::size_t least, std::size_t wanted) {
    const std::size_t byteCount = chunk_byte_count(
        least, wanted, std::clamp(madeByteCount, leastChunkByteCount, largeChunkByteCount));
    // Only large arrays are aligned.
    const std::size_t margin = byteCount < largeChunkByteCount ? unit : 0;
    std::shared_ptr<double[]> memory = make_large_array((byteCount + margin) / sizeof(double));
    std::byte* const first = aligned(memory.get());
    chunks.push_back({this, std::move(memory), first, byteCount});
    madeByteCount += byteCount;
    if (chunks.size() == 1) {
        return;
    }
    Chunk& former = *std::prev(chunks.end(), 2);
    if (former.inUseByteCount == 0) {
        chunks.erase(std::prev(chunks.end(), 2));
    } else if (former.cutByteCount < former.byteCount) {
        link({former.first + former.cutByteCount, former.byteCount - former.cutByteCount, &former});
        former.cutByteCount = former.byteCount;
    }
}

/// Cuts a block from the newest chunk, which has room for at least a small one.
Block Arena::cut(std::size_t wanted) noexcept {
    Chunk& chunk = chunks.back();
    const Block block{chunk.first + chunk.cutByteCount,
                      std::min(wanted, chunk.byteCount - chunk.cutByteCount), &chunk};
    chunk.cutByteCount += block.byteCount;
    chunk.inUseByteCount += block.byteCount;
    ++blockCount;
    return block;
}

/// A free block of at least so many bytes, or null.
Arena::FreeBlock* Arena::findFree(std::size_t byteCount) const noexcept {
    std::size_t list = list_of(byteCount);
    if (freeBlocks[list] != nullptr && freeBlocks[list]->byteCount >= byteCount) {
        return freeBlocks[list];
    }
    while (++list < freeBlocks.size()) {
        if (freeBlocks[list] != nullptr) {
            return freeBlocks[list];
        }
    }
    return nullptr;
}

/// A free block of at least `enough` bytes, if possible of `wanted` bytes, or null. Merges free
/// blocks if enough of them were given back.
Arena::FreeBlock* Arena::findOrMerge(std::size_t enough, std::size_t wanted) {
    FreeBlock* found = findFree(wanted);
    if (found == nullptr && linkedByteCount >= std::max(wanted, largeChunkByteCount)) {
        merge();
        found = findFree(wanted);
    }
    return found != nullptr ? found : findSmaller(enough, wanted);
}

/// A large free block of at least `enough` bytes, or null. None has `wanted` bytes.
Arena::FreeBlock* Arena::findSmaller(std::size_t enough, std::size_t wanted) const noexcept {
    for (std::size_t list = list_of(wanted) + 1; list-- > list_of(enough);) {
        if (freeBlocks[list] != nullptr && freeBlocks[list]->byteCount >= enough) {
            return freeBlocks[list];
        }
    }
    return nullptr;
}

Block Arena::reuse(FreeBlock& found, std::size_t wanted) noexcept {
    Block block{reinterpret_cast<std::byte*>(&found), found.byteCount, found.chunk};
    unlink(found);
    block.chunk->inUseByteCount += wanted;
    ++blockCount;
    if (block.byteCount > wanted) {
        link({block.first + wanted, block.byteCount - wanted, block.chunk});
        block.byteCount = wanted;
    }
    return block;
}

void Arena::shrink(Block& block, std::size_t byteCount) noexcept {
    const std::size_t kept = (byteCount + unit - 1) / unit * unit;
    if (kept == block.byteCount) {
        return;
    }
    Chunk& chunk = *block.chunk;
    const std::lock_guard<std::mutex> lock(chunk.arena->mutex);
    const Block rest{block.first + kept, block.byteCount - kept, &chunk};
    block.byteCount = kept;
    chunk.inUseByteCount -= rest.byteCount;
    if (rest.first + rest.byteCount == chunk.first + chunk.cutByteCount &&
        &chunk == &chunk.arena->chunks.back()) {
        chunk.cutByteCount -= rest.byteCount;
    } else {
        chunk.arena->link(rest);
    }
}

void Arena::giveBack(const Block& block) noexcept {
    Arena* const arena = block.chunk->arena;
    std::unique_lock<std::mutex> lock(arena->mutex);
    arena->release(block);
    if (arena->isLeft && arena->blockCount == 0) {
        lock.unlock();
        delete arena; // NOLINT(*-owning-memory)
    }
}

void Arena::leave() noexcept {
    std::unique_lock<std::mutex> lock(mutex);
    isLeft = true;
    if (blockCount == 0) {
        lock.unlock();
        delete this; // NOLINT(*-owning-memory)
    }
}

void Arena::release(const Block& block) noexcept {
    Chunk& chunk = *block.chunk;
    --blockCount;
    chunk.inUseByteCount -= block.byteCount;
    link(block);
    if (chunk.inUseByteCount == 0) {
        clear(chunk);
    }
}

/// Makes a chunk as new whose blocks are all free, and frees it unless it is the newest one.
void Arena::clear(Chunk& chunk) noexcept {
    for (std::size_t offset = 0; offset < chunk.cutByteCount;) {
        auto& block = *reinterpret_cast<FreeBlock*>(chunk.first + offset);
        offset += block.byteCount;
        unlink(block);
    }
    chunk.cutByteCount = 0;
    if (&chunk != &chunks.back()) {
        chunks.remove_if([&chunk](const Chunk& each) { return &each == &chunk; });
    }
}

/// Merges free blocks that lie side by side. Throws std::bad_alloc and changes nothing then.
void Arena::merge() {
    const std::vector<FreeBlock*> blocks = sortedFreeBlocks();
    freeBlocks.fill(nullptr);
    for (auto each = blocks.begin(); each != blocks.end();) {
        Block whole{reinterpret_cast<std::byte*>(*each), 0, (*each)->chunk};
        for (; each != blocks.end() && (*each)->chunk == whole.chunk &&
               reinterpret_cast<std::byte*>(*each) == whole.first + whole.byteCount;
             ++each) {
            whole.byteCount += (*each)->byteCount;
        }
        link(whole);
    }
    linkedByteCount = 0;
}

/// All free blocks in the order of their addresses.
std::vector<Arena::FreeBlock*> Arena::sortedFreeBlocks() const {
    std::vector<FreeBlock*> result;
    for (FreeBlock* const list : freeBlocks) {
        for (FreeBlock* each = list; each != nullptr; each = each->next) {
            result.push_back(each);
        }
    }
    std::sort(result.begin(), result.end(), std::less<>());
    return result;
}

void Arena::link(const Block& block) noexcept {
    linkedByteCount += block.byteCount;
    FreeBlock*& list = freeBlocks[list_of(block.byteCount)];
    list = new (block.first) FreeBlock{nullptr, list, block.byteCount, block.chunk};
    if (list->next != nullptr) {
        list->next->previous = list;
    }
}

void Arena::unlink(FreeBlock& block) noexcept {
    (block.previous != nullptr ? block.previous->next : freeBlocks[list_of(block.byteCount)]) =
        block.next;
    if (block.next != nullptr) {
        block.next->previous = block.previous;
    }
}

} // namespace logging2::core::detail
