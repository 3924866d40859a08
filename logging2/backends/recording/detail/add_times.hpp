#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>

#include <cstddef>

namespace logging2::core::detail {

/// Adds steps with these times, of which there is one at least, to those that the row describes;
/// they are the first ones if its stepCount is 0. Leaves greatestSoFar as it is.
void add_times(const double* times, std::size_t count, ChunkRow& row);

} // namespace logging2::core::detail
