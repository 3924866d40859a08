#include <logging2/native/detail/transpose.hpp>

#include <algorithm>

namespace logging2::core::detail {
namespace {

/// Rows of the same length, back to back; the time is the first element of each.
struct RowBlock {
    const double* first;
    std::size_t rowLength;
    std::size_t rowCount;
};

/// The elements of each row that go into one column.
struct Slice {
    std::size_t offset;
    std::size_t width;
};

/// Rows that are worked on together, so that they are in the cache when the next column asks for
/// its elements.
constexpr std::size_t tileRowCount = 64;

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

/// Copies one slice of every row to out, row after row; returns the end of what was written.
double* copy_slice(const RowBlock& rows, const Slice& slice, double* out) {
    const double* source = rows.first + slice.offset;
    if (slice.width == 1) {
        for (std::size_t row = 0; row < rows.rowCount; ++row) {
            out[row] = source[row * rows.rowLength];
        }
        return out + rows.rowCount;
    }
    for (std::size_t row = 0; row < rows.rowCount; ++row) {
        out = std::copy_n(source + row * rows.rowLength, slice.width, out);
    }
    return out;
}

/// Takes back what was appended to the columns since it was made, unless that is to stay.
class ColumnsGuard {
public:
    explicit ColumnsGuard(std::deque<std::vector<double>>& guardedColumns)
        : columns(guardedColumns) {
        for (const std::vector<double>& column : columns) {
            formerSizes.push_back(column.size());
        }
    }

    ~ColumnsGuard() {
        for (std::size_t j = 0; j < formerSizes.size(); ++j) {
            columns[j].resize(formerSizes[j]);
        }
    }

    ColumnsGuard(const ColumnsGuard&) = delete;
    ColumnsGuard& operator=(const ColumnsGuard&) = delete;

    void keep() { formerSizes.clear(); }

private:
    std::deque<std::vector<double>>& columns;
    std::vector<std::size_t> formerSizes;
};

/// Sizes every column for the block and returns where its new elements begin.
std::vector<double*> grow_columns(const std::vector<Slice>& slices, std::size_t rowCount,
                                  std::deque<std::vector<double>>& columns) {
    std::vector<double*> ends(slices.size());
    for (std::size_t j = 0; j < slices.size(); ++j) {
        const std::size_t former = columns[j].size();
        columns[j].resize(former + rowCount * slices[j].width);
        ends[j] = columns[j].data() + former;
    }
    return ends;
}

void append_block(const RowBlock& rows, const RowLayout& layout,
                  std::deque<std::vector<double>>& columns) {
    const std::vector<Slice> slices = slices_of(layout, rows.rowLength);
    std::vector<double*> ends = grow_columns(slices, rows.rowCount, columns);
    for (std::size_t row = 0; row < rows.rowCount; row += tileRowCount) {
        const RowBlock tile{rows.first + row * rows.rowLength, rows.rowLength,
                            std::min(tileRowCount, rows.rowCount - row)};
        for (std::size_t j = 0; j < slices.size(); ++j) {
            ends[j] = copy_slice(tile, slices[j], ends[j]);
        }
    }
}

} // namespace

void append_rows(const std::vector<double>& rows, std::size_t rowWidth, const RowLayout& layout,
                 std::deque<std::vector<double>>& columns) {
    if (columns.size() < layout.size() + 1) {
        columns.resize(layout.size() + 1);
    }
    ColumnsGuard guard(columns);
    const std::size_t rowLength = rowWidth + 1;
    const std::size_t rowCount = rows.size() / rowLength;
    append_block({rows.data(), rowLength, rowCount}, layout, columns);
    if (const std::size_t rest = rows.size() % rowLength; rest > 0) {
        append_block({rows.data() + rowCount * rowLength, rest, 1}, layout, columns);
    }
    guard.keep();
}

} // namespace logging2::core::detail
