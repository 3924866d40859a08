#include <logging2/memory/detail/RowStorage.hpp>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstdint>
#include <utility>

namespace logging2::core::detail {
namespace {

// The type of the two owner counters in the standard library's std::shared_ptr.
#ifdef _LIBCPP_VERSION
using Count = long;
#else
using Count = int;
#endif

} // namespace

/// Slots for 63 rows. Each slot has room for a row's vector object and for the control block of its
/// std::shared_ptr. One bit is set for every slot in use, and one more while a storage keeps the
/// block. The thread that clears the last bit frees the block.
class RowBlock {
public:
    /// The size of the vector, the two counters, the virtual table pointer and the allocator.
    static constexpr std::size_t slotByteCount =
        sizeof(std::vector<double>) + 2 * sizeof(Count) + 2 * sizeof(void*);

    bool full() const { return taken.load(std::memory_order_relaxed) == ~Bits{0}; }

    /// Whether the block has no rows. A storage must keep the block.
    bool empty() const { return taken.load(std::memory_order_relaxed) == kept; }

    /// Takes the lowest free slot and returns it. There must be a free slot.
    void* take() {
        // The acquire makes the release of the slot's former row happen before the slot's next use.
        const Bits free = ~taken.load(std::memory_order_acquire);
        const Bits lowest = free & (~free + 1);
        taken.fetch_or(lowest, std::memory_order_relaxed);
        return slots.data() + slot_of(lowest) * slotByteCount;
    }

    void giveBack(const void* slot) {
        const auto byteCount = static_cast<const std::byte*>(slot) - slots.data();
        clear(Bits{1} << (static_cast<std::size_t>(byteCount) / slotByteCount));
    }

    /// Must be called when the storage stops keeping the block.
    void leave() { clear(kept); }

private:
    using Bits = std::uint64_t;

    static constexpr std::size_t slotCount = 63;
    static constexpr Bits kept = Bits{1} << slotCount;

    static std::size_t slot_of(Bits bit) { return static_cast<std::size_t>(__builtin_ctzll(bit)); }

    void clear(Bits bit) {
        if (taken.fetch_and(~bit, std::memory_order_acq_rel) == bit) {
            delete this;
        }
    }

    std::atomic<Bits> taken{kept};
    alignas(std::max_align_t) std::array<std::byte, slotCount * slotByteCount> slots;
};

void RowBlockRelease::operator()(RowBlock* block) const noexcept {
    block->leave();
}

namespace {

/// Gives std::allocate_shared one slot of a block and takes the slot back.
template <class T>
class SlotAllocator {
public:
    using value_type = T;

    explicit SlotAllocator(RowBlock& filled) noexcept : block(&filled) {}

    template <class U>
    SlotAllocator(const SlotAllocator<U>& other) noexcept : block(other.block) {}

    T* allocate(std::size_t) {
        static_assert(sizeof(T) <= RowBlock::slotByteCount);
        static_assert(RowBlock::slotByteCount % alignof(T) == 0);
        return static_cast<T*>(block->take());
    }

    void deallocate(T* slot, std::size_t) noexcept { block->giveBack(slot); }

    template <class U>
    bool operator==(const SlotAllocator<U>& other) const noexcept {
        return block == other.block;
    }

    template <class U>
    bool operator!=(const SlotAllocator<U>& other) const noexcept {
        return block != other.block;
    }

    RowBlock* block;
};

} // namespace

void RowStorage::makeRoom() {
    if (blockCount == 0 || blocks[blockCount - 1]->full()) {
        turnToFreeBlock();
    }
}

RowHandle RowStorage::makeRow(std::vector<double>&& values) noexcept {
    assert(blockCount > 0 && !blocks[blockCount - 1]->full());
    const SlotAllocator<std::vector<double>> slot(*blocks[blockCount - 1]);
    return std::allocate_shared<std::vector<double>>(slot, std::move(values));
}

void RowStorage::turnToFreeBlock() {
    const bool oldestIsEmpty = blockCount > 0 && blocks.front()->empty();
    BlockOwner next(oldestIsEmpty ? blocks.front().release() : new RowBlock);
    if (oldestIsEmpty || blockCount == blocks.size()) {
        std::move(blocks.begin() + 1, blocks.begin() + static_cast<std::ptrdiff_t>(blockCount),
                  blocks.begin());
        --blockCount;
    }
    blocks[blockCount++] = std::move(next);
}

void RowStorage::takeBack() noexcept {
    // Rows are made in order. The next rows go to the older block that has room again, so the newer
    // blocks are no longer kept.
    while (blockCount > 1 && !blocks[blockCount - 2]->full()) {
        blocks[--blockCount].reset();
    }
}

void RowStorage::clear() noexcept {
    while (blockCount > 0) {
        blocks[--blockCount].reset();
    }
}

} // namespace logging2::core::detail
