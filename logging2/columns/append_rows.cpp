#include <logging2/columns/append_rows.hpp>

#include <logging2/columns/append_tile.hpp>
#include <logging2/columns/storage.hpp>

#include <algorithm>
#include <array>

namespace logging2::core::detail {
namespace {

/// Rows of equal length that lie back to back. The first element of each row is its time.
struct BufferedRows {
    const double* first;
    std::size_t rowLength;
    std::size_t rowCount;
};

/// Returns the slices of the times and of every channel, cut off at the end of the row. The caller
/// has made enough columns.
std::vector<Slice> slices_with_times(const ChannelWidths& widths, std::size_t rowLength,
                                     std::deque<std::vector<double>>& columns) {
    std::vector<Slice> slices =
        slices_of(widths, 1, rowLength, [&columns](std::size_t k) { return &columns[k + 1]; });
    slices.insert(slices.begin(), {0, 1, &columns[0]});
    return slices;
}

/// Gives every column room for the slices of rowCount rows, so that appending them cannot fail. A
/// column that holds values grows geometrically, so that appending many batches copies each value
/// only a few times. An empty column gets exactly what it needs.
void reserve_columns(const std::vector<Slice>& slices, std::size_t rowCount) {
    for (const auto& [offset, width, column] : slices) {
        if (column->empty()) {
            reserve_large(*column, rowCount * width);
        } else {
            make_room(*column, rowCount * width);
        }
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

void append_rows(const std::vector<double>& rows, std::size_t rowWidth, const ChannelWidths& widths,
                 std::deque<std::vector<double>>& columns) {
    if (columns.size() < widths.size() + 1) {
        columns.resize(widths.size() + 1);
    }
    const std::size_t rowLength = rowWidth + 1;
    const std::size_t rowCount = rows.size() / rowLength;
    const std::size_t rest = rows.size() % rowLength;
    const BufferedRows whole{rows.data(), rowLength, rowCount};
    const BufferedRows cutShort{rows.data() + rowCount * rowLength, rest,
                                rest > 0 ? std::size_t{1} : 0};
    const std::vector<Slice> slices = slices_with_times(widths, rowLength, columns);
    const std::vector<Slice> slicesCutShort =
        slices_with_times(widths, std::max(rest, std::size_t{1}), columns);
    reserve_columns(slices, whole.rowCount + cutShort.rowCount);
    append_block(whole, slices);
    append_block(cutShort, slicesCutShort);
}

} // namespace logging2::core::detail
