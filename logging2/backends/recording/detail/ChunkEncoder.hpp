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

    /// The layout of so many steps. The last one is kept for the next call.
    std::shared_ptr<const ChunkLayout> layout(std::size_t stepCount);

    /// Writes the payload of as many rows as the layout has steps. They lie back to back, and the
    /// payload at a multiple of the alignment. May be called by several threads at once.
    void encode(const ChunkLayout& layout, const double* rows, char* payload) const;

private:
    /// Columns that are copied together: several of width 1, or a single one.
    struct Strip {
        std::size_t firstColumn;
        std::size_t columnCount;
        std::size_t offset; ///< of the first value in the row
    };

    void encodeLeaf(const ChunkLayout& layout, const double* rows, std::size_t firstStep,
                    std::size_t count, char* payload) const;
    static void writeInnerNodes(const ColumnLayout& column, char* payload);

    std::vector<std::size_t> widths;
    std::size_t length;
    std::vector<Strip> strips;
    std::shared_ptr<const ChunkLayout> current;
};

} // namespace logging2::core::detail
