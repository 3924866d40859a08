#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Turns the rows of one group into the payload of a chunk.
class ChunkEncoder {
public:
    /// Rows of this many doubles: the time, and the values of channels of these widths.
    explicit ChunkEncoder(std::vector<std::size_t> channelWidths);

    /// The number of doubles of a row, the time included.
    std::size_t rowLength() const noexcept { return length; }

    /// The layout of so many steps; valid until the next call.
    const ChunkLayout& layout(std::size_t stepCount);

    /// Writes the payload of the rows, which lie back to back, to layout(rowCount).byteCount bytes
    /// at a multiple of the alignment.
    void encode(const double* rows, std::size_t rowCount, char* payload);

private:
    /// Columns that are copied together: several of width 1, or a single one.
    struct Strip {
        std::size_t firstColumn;
        std::size_t columnCount;
        std::size_t offset; ///< of the first value in the row
    };

    void encodeLeaf(const double* rows, std::size_t firstStep, std::size_t count, char* payload);
    static void writeInnerNodes(const ColumnLayout& column, char* payload);

    std::vector<std::size_t> widths;
    std::size_t length;
    std::vector<Strip> strips;
    ChunkLayout current;
};

} // namespace logging2::core::detail
