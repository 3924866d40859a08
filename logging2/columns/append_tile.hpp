#pragma once

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// The number of rows in a tile. The rows of a tile are turned into columns together. They are few
/// enough to stay in the cache until the last column has taken its elements.
constexpr std::size_t tileRowCount = 64;

/// The size in bytes at which a tile ends early if its rows are freed after copying. The row that
/// reaches this size is its last one. This limits how much data is held twice.
constexpr std::size_t tileByteCount = std::size_t{512} * 1024;

/// The elements of every row that belong to one column: elements offset to offset + width - 1.
struct Slice {
    std::size_t offset;
    std::size_t width;
    std::vector<double>* column;
};

/// Appends the slices of each row to their columns, row after row.
///
/// `rows` points to the first elements of rowCount rows, at most tileRowCount. The caller should
/// reserve the capacity of the columns. If a column must grow and memory runs out, some columns
/// keep a part of the rows.
void append_tile(const double* const* rows, std::size_t rowCount, const std::vector<Slice>& slices);

} // namespace logging2::core::detail
