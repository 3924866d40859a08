#pragma once

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// How many rows are turned into columns together: few enough to stay in the cache until the last
/// column has asked for its elements.
constexpr std::size_t tileRowCount = 64;

/// Appends the elements offset to offset + width - 1 of each row to the column, row after row.
///
/// rows points to the first elements of rowCount rows, at most tileRowCount. The column should have
/// the capacity; where it has not and memory runs out, it keeps a part of the rows.
void append_tile(const double* const* rows, std::size_t rowCount, std::size_t offset,
                 std::size_t width, std::vector<double>& column);

} // namespace logging2::core::detail
