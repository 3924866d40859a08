#pragma once

#include <logging2/backends/columnar/detail/Arena.hpp>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

namespace logging2::core::detail {

/// Room for some steps of a group, one column after the other: first R times, then R·w values for
/// each channel of width w.
///
/// It lies in a block of an arena, in front of its columns. Rows are written once and stay as they
/// are while a reader may see them. The last owner gives the block back, on any thread.
class Piece {
public:
    using Owner = boost::intrusive_ptr<Piece>;

    /// The number of bytes for so many rows.
    static std::size_t byteCountOf(std::size_t rowCount, std::size_t rowByteCount) noexcept {
        return sizeof(Piece) + rowCount * rowByteCount;
    }

    static Owner makeIn(const Block& block, std::size_t rowCount) noexcept {
        return Owner(new (block.first) Piece(block, rowCount));
    }

    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    /// The number of rows for which there is room, R.
    std::size_t rowCapacity() const noexcept { return capacity; }

    std::size_t byteCount() const noexcept { return unitCount * Arena::unit; }

    /// The first time.
    double* times() noexcept { return reinterpret_cast<double*>(this + 1); }
    const double* times() const noexcept { return reinterpret_cast<const double*>(this + 1); }

    /// The first value of the column that begins with the element of this offset in a row.
    const double* column(std::size_t offset) const noexcept {
        return times() + capacity * (1 + offset);
    }

    /// Whether it has only so many owners. Whatever former owners read was read before.
    bool isOwnedBy(std::uint32_t count) const noexcept {
        return ownerCount.load(std::memory_order_acquire) == count;
    }

    /// How many rows readers may see. A writer must not change them. The mutex of the samples
    /// guards it.
    std::uint32_t shownRowCount = 0;

    friend void intrusive_ptr_add_ref(Piece* piece) noexcept {
        piece->ownerCount.fetch_add(1, std::memory_order_relaxed);
    }

    friend void intrusive_ptr_release(Piece* piece) noexcept {
        if (piece->ownerCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            const Block block{reinterpret_cast<std::byte*>(piece), piece->byteCount(),
                              piece->chunk};
            piece->~Piece();
            Arena::giveBack(block);
        }
    }

private:
    Piece(const Block& block, std::size_t rowCount) noexcept
        : capacity(static_cast<std::uint32_t>(rowCount)),
          unitCount(static_cast<std::uint32_t>(block.byteCount / Arena::unit)),
          chunk(block.chunk) {}
    ~Piece() = default;

    std::atomic<std::uint32_t> ownerCount{0};
    std::uint32_t capacity;
    std::uint32_t unitCount; // of the block
    Chunk* chunk;
};

static_assert(sizeof(Piece) == 24);

} // namespace logging2::core::detail
