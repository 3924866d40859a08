#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/Description.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// The number of doubles of a group's row, the time included.
std::size_t row_length(const DescribedGroup& group);

/// How many rows of this size fit into a chunk: one at least, and whole leaves if there is room for
/// one.
std::size_t rows_per_chunk(std::size_t chunkByteCount, std::size_t rowByteCount);

/// How many rows a block of each group holds. A quarter of the buffer's bytes, or what the largest
/// block needs, is left for blocks that wait to be written.
///
/// Throws std::invalid_argument if a channel is wider than a recording can have, or if the buffer
/// cannot hold one row per group, and another one of the widest.
std::vector<std::size_t> row_capacities(const RecordingOptions& options,
                                        const std::vector<DescribedGroup>& groups);

/// Throws std::invalid_argument if an option has no meaning.
void check_options(const RecordingOptions& options);

} // namespace logging2::core::detail
