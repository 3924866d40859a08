#include <logging2/native/detail/transpose.hpp>

#include <logging2/stream/detail/append_tile.hpp>
#include <logging2/stream/detail/storage.hpp>

#include <algorithm>
#include <array>

namespace logging2::core::detail {
namespace {

/// Rows of the same length, back to back; the time is the first element of each.
struct RowSpan {
    const double* first;
    std::size_t rowLength;
    std::size_t rowCount;
};

/// The elements of each row that go into one column.
struct Slice {
    std::size_t offset;
    std::size_t width;
};

/// The slices of the times and of every channel, cut off where the row ends.
std::vector<Slice> slices_of(const RowLayout& layout, std::size_t rowLength) {
    std::vector<Slice> slices{{0, 1}};
    slices.reserve(layout.size() + 1);
    std::size_t offset = 1;
    for (const auto& [channel, width] : layout) {
        slices.push_back({offset, std::min(width, rowLength - offset)});
        offset += slices.back().width;
    }
    return slices;
}

/// Gives every column room for the slices of so many rows, so that appending them cannot fail.
void reserve_columns(const std::vector<Slice>& slices, std::size_t rowCount,
                     std::deque<std::vector<double>>& columns) {
    for (std::size_t j = 0; j < slices.size(); ++j) {
        reserve_large(columns[j], columns[j].size() + rowCount * slices[j].width);
    }
}

void append_block(const RowSpan& rows, const std::vector<Slice>& slices,
                  std::deque<std::vector<double>>& columns) {
    std::array<const double*, tileRowCount> tile{};
    for (std::size_t done = 0; done < rows.rowCount; done += tileRowCount) {
        const std::size_t count = std::min(tileRowCount, rows.rowCount - done);
        for (std::size_t row = 0; row < count; ++row) {
            tile[row] = rows.first + (done + row) * rows.rowLength;
        }
        for (std::size_t j = 0; j < slices.size(); ++j) {
            append_tile(tile.data(), count, slices[j].offset, slices[j].width, columns[j]);
        }
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
    const RowSpan whole{rows.data(), rowLength, rowCount};
    const RowSpan cutShort{rows.data() + rowCount * rowLength, rest, rest > 0 ? std::size_t{1} : 0};
    const std::vector<Slice> slices = slices_of(layout, rowLength);
    const std::vector<Slice> slicesCutShort = slices_of(layout, std::max(rest, std::size_t{1}));
    reserve_columns(slices, whole.rowCount + cutShort.rowCount, columns);
    append_block(whole, slices, columns);
    append_block(cutShort, slicesCutShort, columns);
}

} // namespace logging2::core::detail
