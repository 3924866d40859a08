#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/PackedLayout.hpp>
#include <logging2/backends/recording/detail/SegmentCodec.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace logging2::core::detail {

/// Unpacks samples of one packed chunk, which are still to be compared with their hashes.
class SegmentReader {
public:
    /// Reads where the segments of the chunk are. The file and the layout, that of the same steps
    /// if they are not packed, must outlive the object.
    SegmentReader(const DataFile& dataFile, const ChunkLayout& chunkLayout,
                  std::uint64_t payloadOffset);

    const PackedLayout& places() const noexcept { return packed; }

    /// Unpacks the steps [firstStep, endStep) of a packed column. Returns false if the bytes are no
    /// segments.
    bool unpack(std::size_t column, std::size_t firstStep, std::size_t endStep, double* to) const;

    /// The same for steps of one segment; returns nothing if the bytes are no segments. It keeps
    /// the segment, so that its other steps cost little if they are wanted next.
    std::vector<double> unpackPart(std::size_t column, std::size_t firstStep, std::size_t endStep);

private:
    /// The segments of the same steps, one for each element of a column.
    struct Segments {
        const char* bytes;
        const std::uint32_t* byteCounts;
        std::size_t firstStep;
    };

    /// The samples of a column's segments of the same steps.
    struct Unpacked {
        std::size_t firstStep = std::numeric_limits<std::size_t>::max(); ///< if there are none
        std::vector<double> samples;
    };

    bool hasSegments(std::size_t column, std::size_t start, std::size_t stepCount) const;
    bool unpackSegments(SegmentCodec& codec, Segments segments, std::size_t firstStep,
                        std::size_t endStep, std::size_t width, double* to) const;

    const DataFile& file;
    const ChunkLayout& layout;
    std::uint64_t payload;
    PackedLayout packed;
    std::vector<Unpacked> kept; ///< by column
};

} // namespace logging2::core::detail
