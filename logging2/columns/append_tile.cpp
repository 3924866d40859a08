#include <logging2/columns/append_tile.hpp>

#include <algorithm>
#include <array>

namespace logging2::core::detail {
namespace {

/// Slices of at most this width are gathered in a buffer and appended to their column once per
/// tile, which costs less than one insertion per row.
constexpr std::size_t gatheredWidth = 8;

/// The number of adjacent scalars that are taken from a row together. They fill a cache line.
constexpr std::size_t sideBySide = 8;

using Rows = const double* const*;
using Slices = std::vector<Slice>::const_iterator;

/// Whether the next sideBySide slices are adjacent scalars.
bool begins_with_scalars(Slices first, Slices last) {
    if (static_cast<std::size_t>(last - first) < sideBySide) {
        return false;
    }
    std::size_t offset = first->offset;
    return std::all_of(first, first + sideBySide, [&offset](const Slice& slice) {
        return slice.width == 1 && slice.offset == offset++;
    });
}

void append_scalars(Rows rows, std::size_t rowCount, Slices first) {
    std::array<std::array<double, tileRowCount>, sideBySide> gathered; // NOLINT(*-member-init)
    for (std::size_t row = 0; row < rowCount; ++row) {
        const double* const elements = rows[row] + first->offset;
        for (std::size_t k = 0; k < sideBySide; ++k) {
            gathered[k][row] = elements[k];
        }
    }
    for (const auto& elements : gathered) {
        std::vector<double>& column = *(first++)->column;
        column.insert(column.end(), elements.begin(),
                      elements.begin() + static_cast<std::ptrdiff_t>(rowCount));
    }
}

void append_gathered(Rows rows, std::size_t rowCount, const Slice& slice) {
    std::array<double, tileRowCount * gatheredWidth> gathered; // NOLINT(*-member-init)
    double* end = gathered.data();
    if (slice.width == 1) {
        for (std::size_t row = 0; row < rowCount; ++row) {
            *end++ = rows[row][slice.offset];
        }
    } else {
        for (std::size_t row = 0; row < rowCount; ++row) {
            end = std::copy_n(rows[row] + slice.offset, slice.width, end);
        }
    }
    slice.column->insert(slice.column->end(), gathered.data(), end);
}

void append_row_by_row(Rows rows, std::size_t rowCount, const Slice& slice) {
    for (std::size_t row = 0; row < rowCount; ++row) {
        const double* const first = rows[row] + slice.offset;
        slice.column->insert(slice.column->end(), first, first + slice.width);
    }
}

} // namespace

void append_tile(Rows rows, std::size_t rowCount, const std::vector<Slice>& slices) {
    for (auto slice = slices.begin(); slice != slices.end();) {
        if (begins_with_scalars(slice, slices.end())) {
            append_scalars(rows, rowCount, slice);
            slice += sideBySide;
        } else if (slice->width <= gatheredWidth) {
            append_gathered(rows, rowCount, *slice++);
        } else {
            append_row_by_row(rows, rowCount, *slice++);
        }
    }
}

} // namespace logging2::core::detail
