#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>

#include <cstddef>

namespace logging2::core::detail {

/// Widens the range of each element by the first stepCount samples of a chunk's column. Reads only
/// the root of the column's tree if these are all samples, and otherwise one path down the tree.
void add_column_range(ChunkReader& chunk, const ChunkLayout& layout, std::size_t column,
                      std::size_t stepCount, ElementRange* ranges);

} // namespace logging2::core::detail
