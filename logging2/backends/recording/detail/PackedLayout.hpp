#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace logging2::core::detail {

// A packed chunk is a chunk of which some columns are packed. Its directory has, behind the roots,
// the number of bytes of each segment of each column, as std::uint32_t: column after column, the
// segments of the same steps together, in the order of the elements. If a column is not packed, its
// numbers are 0, and its values stand as in any chunk. Otherwise its segments stand there in that
// order, followed by zeros up to a multiple of 8 bytes.

/// Where the nodes behind that many bytes of segments start.
constexpr std::uint64_t padded(std::uint64_t byteCount) {
    return (byteCount + sizeof(double) - 1) / sizeof(double) * sizeof(double);
}

/// How many segments each element of the chunk's columns has.
std::size_t segments_per_element(const ChunkLayout& layout);

/// How many segments all columns have.
std::size_t segment_count(const ChunkLayout& layout);

/// Where the segments' numbers of bytes stand, from the payload's start.
std::uint64_t segment_table_offset(const ChunkLayout& layout);

/// The number of bytes of a packed chunk's directory.
std::uint64_t packed_directory_byte_count(const ChunkLayout& layout);

/// Where everything of a packed chunk stands that differs from a chunk that is not packed.
class PackedLayout {
public:
    struct Column {
        std::uint64_t values = 0;     ///< where the values or segments start
        std::uint64_t end = 0;        ///< behind them, where the nodes start
        std::size_t firstSegment = 0; ///< in the directory
        bool isPacked = false;
    };

    /// The layout is that of the same steps if they are not packed.
    PackedLayout(const ChunkLayout& layout, std::vector<std::uint32_t> segmentByteCounts);

    const Column& column(std::size_t k) const { return columns[k]; }

    const std::uint32_t* byteCounts(std::size_t segment) const { return &sizes[segment]; }

    /// The number of bytes of the payload.
    std::uint64_t byteCount() const noexcept { return end; }

private:
    std::vector<std::uint32_t> sizes;
    std::vector<Column> columns;
    std::uint64_t end;
};

} // namespace logging2::core::detail
