#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace logging2::core::detail {

/// A segment of a packed column holds one element of this many steps, the last one what is left.
constexpr std::size_t segmentStepCount = leafStepCount * fanOut;

/// No bytes become more than so many times as many when LZ4 unpacks them.
constexpr std::size_t greatestPackedRatio = 256;

/// The most bytes that a segment of so many steps needs.
std::size_t packed_byte_count_limit(std::size_t stepCount);

/// Packs segments and unpacks them, bit for bit.
///
/// The bits of the values are taken as integers and replaced by their differences, or by the
/// differences of these, or left as they are, whatever repeats the most bytes. Then the lowest
/// bytes of all numbers come first, and so on to the highest ones, and LZ4 packs the result. A
/// segment is a byte with the order of the differences, 0 to 2, and LZ4's block.
class SegmentCodec {
public:
    SegmentCodec();

    /// Packs the element of stepCount samples, at most segmentStepCount, of which each has
    /// `width` values. Writes up to packed_byte_count_limit(stepCount) bytes and returns how many.
    std::size_t pack(const double* element, std::size_t width, std::size_t stepCount, char* to);

    /// Unpacks the steps [firstStep, endStep) of a segment with stepCount steps into the element of
    /// samples of the width. Returns false if the bytes are no such segment.
    bool unpack(const char* bytes, std::size_t byteCount, std::size_t stepCount,
                std::size_t firstStep, std::size_t endStep, std::size_t width, double* element);

private:
    std::unique_ptr<std::uint64_t[]> numbers;
    std::unique_ptr<char[]> planes;
};

} // namespace logging2::core::detail
