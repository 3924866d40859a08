#include <logging2/native/detail/transpose.hpp>

#include <logging2/stream/detail/append_tile.hpp>
#include <logging2/stream/detail/storage.hpp>

#include <algorithm>
#include <array>

namespace logging2::core::detail {
namespace {

/// Rows of the same length, back to back; the time is the first element of each.
struct BufferedRows {
    const double* first;
    std::size_t rowLength;
    std::size_t rowCount;
};

/// The times and every channel, cut off where the row ends. There are enough columns.
std::vector<Slice> slices_of(const RowLayout& layout, std::size_t rowLength,
                             std::deque<std::vector<double>>& columns) {
    std::vector<Slice> slices{{0, 1, &columns[0]}};
    slices.reserve(layout.size() + 1);
    std::size_t offset = 1;
    for (const auto& [channel, width] : layout) {
        slices.push_back({offset, std::min(width, rowLength - offset), &columns[slices.size()]});
        offset += slices.back().width;
    }
    return slices;
}

/// Gives every column room for the slices of so many rows, so that appending them cannot fail.
void reserve_columns(const std::vector<Slice>& slices, std::size_t rowCount) {
    for (const Slice& slice : slices) {
        reserve_large(*slice.column, slice.column->size() + rowCount * slice.width);
    }
}

void append_block(const BufferedRows& rows, const std::vector<Slice>& slices) {
    std::array<const double*, tileRowCount> tile{};
    for (std::size_t done = 0; done < rows.rowCount; done += tileRowCount) {
        const std::size_t count = std::min(tileRowCount, rows.rowCount - done);
        for (std::size_t row = 0; row < count; ++row) {
            tile[row] = rows.first + (done + row) * rows.rowLength;
        }
        append_tile(tile.data(), count, slices);
    }
}

} // namespace

void append_rows(const std::vector<double>& rows, std::size_t rowWidth, const RowLayout& layout,
                 std::deque<std::vector<double>>& columns) {
    if (columns.size() < layout.size() + 1) {
        columns.resize(layout.size() + 1);
    }
    const std::size_t rowLength = rowWidth + 1;
    const std::size_t rowCount = rows.size() / rowLength;
    const std::size_t rest = rows.size() % rowLength;
    const BufferedRows whole{rows.data(), rowLength, rowCount};
    const BufferedRows cutShort{rows.data() + rowCount * rowLength, rest,
                                rest > 0 ? std::size_t{1} : 0};
    const std::vector<Slice> slices = slices_of(layout, rowLength, columns);
    const std::vector<Slice> slicesCutShort =
        slices_of(layout, std::max(rest, std::size_t{1}), columns);
    reserve_columns(slices, whole.rowCount + cutShort.rowCount);
    append_block(whole, slices);
    append_block(cutShort, slicesCutShort);
}

} // namespace logging2::core::detail
