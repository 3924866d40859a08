#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/SegmentCodec.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// Turns the payload of a chunk into that of a packed chunk, which PackedLayout.hpp describes.
class ChunkPacker {
public:
    struct Packed {
        std::uint64_t directoryByteCount;
        std::uint64_t byteCount; ///< of the payload, a multiple of the alignment
    };

    /// Packs the payload in its place. A column that would save less than 15 % stays as it is. If
    /// the payload would not become smaller, it is left alone.
    std::optional<Packed> pack(const ChunkLayout& layout, char* payload);

private:
    void begin(const ChunkLayout& layout, const char* payload);
    void append(const char* bytes, std::uint64_t byteCount);
    void pad(std::size_t multiple);
    bool appendSegments(const ChunkLayout& layout, const ColumnLayout& column, const double* values,
                        std::uint32_t* byteCounts);

    SegmentCodec codec;
    std::vector<std::uint32_t> sizes; ///< of all segments
    std::unique_ptr<char[]> output;   ///< the packed payload
    std::size_t capacity = 0;
    std::size_t used = 0;
};

} // namespace logging2::core::detail
