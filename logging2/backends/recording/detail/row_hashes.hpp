#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/GroupRow.hpp>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace logging2::core::detail {

// The index stores a hash with each row, so that readers notice damage. Rows that describe the run
// for good have none: they are compared with the description in the data file.

/// The hash of a chunk's row. As SQLite stores them, all NaN and both zeros are the same.
std::uint64_t hash_of_row(const ChunkRow& row);

/// The hash of the row of the group at the position. It holds the sum of its chunks' hashes, so
/// that chunks of another state of the index do not fit.
std::uint64_t hash_of_row(std::size_t position, const GroupRow& row);

/// The hash of a key and a value of the run.
std::uint64_t hash_of_row(std::string_view key, std::string_view value);

} // namespace logging2::core::detail
