#pragma once

#include <cstddef>

namespace logging2::core::detail {

/// How many bytes the next piece of a group should have, if its pieces have heldByteCount bytes and
/// there are groupCount groups.
///
/// All groups together leave at most 1 MiB, or 2 KiB per group, and 1.1 % of the bytes unused in
/// their last pieces. A piece has at most 4 MiB.
std::size_t piece_byte_count(std::size_t heldByteCount, std::size_t groupCount) noexcept;

/// How many rows a piece of so many bytes gets, at least one. The columns of a piece with many rows
/// begin in different sets of the processor's caches.
std::size_t piece_row_count(std::size_t byteCount, std::size_t rowByteCount) noexcept;

} // namespace logging2::core::detail
