#pragma once

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// How many rows are turned into columns together: few enough to stay in the cache until the last
/// column has asked for its elements.
constexpr std::size_t tileRowCount = 64;

/// If the rows are freed after they were copied, a tile also ends with the row that reaches this
/// many bytes, to limit how much is held twice.
constexpr std::size_t tileByteCount = std::size_t{512} * 1024;

/// The elements of every row that go to one column: offset to offset + width - 1.
struct Slice {
    std::size_t offset;
    std::size_t width;
    std::vector<double>* column;
};

/// Appends the slices of each row to their columns, row after row.
///
/// rows points to the first elements of rowCount rows, at most tileRowCount. The columns should
/// have the capacity; where one has not and memory runs out, some keep a part of the rows.
void append_tile(const double* const* rows, std::size_t rowCount, const std::vector<Slice>& slices);

} // namespace logging2::core::detail
