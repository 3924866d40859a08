#include <logging2/backends/columnar/detail/piece_size.hpp>

#include <logging2/backends/columnar/detail/Piece.hpp>

#include <algorithm>

namespace logging2::core::detail {
namespace {

constexpr std::size_t kibibyte = 1024;
constexpr std::size_t greatestByteCount = 4 * kibibyte * kibibyte;

/// Doubles in a cache line.
constexpr std::size_t lineLength = 8;

/// The columns of a piece with fewer rows are so short that they fill all sets of a cache anyway.
constexpr std::size_t fewRows = 16 * lineLength;

} // namespace

std::size_t piece_byte_count(std::size_t heldByteCount, std::size_t groupCount) noexcept {
    const std::size_t shared = kibibyte * kibibyte / std::max<std::size_t>(groupCount, 1);
    const std::size_t unused = std::max(2 * kibibyte + heldByteCount / 96, shared);
    return std::min({heldByteCount + kibibyte, unused, greatestByteCount});
}

std::size_t piece_row_count(std::size_t byteCount, std::size_t rowByteCount) noexcept {
    const std::size_t rowCount = (byteCount - sizeof(Piece)) / rowByteCount;
    if (rowCount < fewRows) {
        return std::max<std::size_t>(rowCount, 1);
    }
    // An odd number of lines.
    return (rowCount / lineLength - 1) / 2 * 2 * lineLength + lineLength;
}

} // namespace logging2::core::detail
