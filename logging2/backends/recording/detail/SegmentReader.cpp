#include <logging2/backends/recording/detail/SegmentReader.hpp>

#include <algorithm>
#include <numeric>

namespace logging2::core::detail {
namespace {

std::vector<std::uint32_t> segment_byte_counts(const DataFile& file, const ChunkLayout& layout,
                                               std::uint64_t payload) {
    return file.elements<std::uint32_t>(segment_count(layout),
                                        payload + segment_table_offset(layout));
}

} // namespace

SegmentReader::SegmentReader(const DataFile& dataFile, const ChunkLayout& chunkLayout,
                             std::uint64_t payloadOffset)
    : file(dataFile),
      layout(chunkLayout),
      payload(payloadOffset),
      packed(chunkLayout, segment_byte_counts(dataFile, chunkLayout, payloadOffset)),
      kept(chunkLayout.columns.size()) {}

bool SegmentReader::unpack(std::size_t column, std::size_t firstStep, std::size_t endStep,
                           double* to) const {
    const std::size_t width = layout.columns[column].width;
    const std::uint32_t* byteCounts = packed.byteCounts(packed.column(column).firstSegment);
    std::uint64_t offset = payload + packed.column(column).values;
    SegmentCodec codec;
    for (std::size_t start = 0; start < endStep; start += segmentStepCount) {
        const std::uint64_t byteCount =
            std::accumulate(byteCounts, byteCounts + width, std::uint64_t{0});
        if (start + segmentStepCount > firstStep) {
            const std::vector<char> bytes = file.elements<char>(byteCount, offset);
            const std::size_t first = std::max(start, firstStep);
            const std::size_t end = std::min(start + segmentStepCount, endStep);
            if (!unpackSegments(codec, {bytes.data(), byteCounts, start}, first, end, width, to)) {
                return false;
            }
            to += (end - first) * width;
        }
        byteCounts += width;
        offset += byteCount;
    }
    return true;
}

bool SegmentReader::unpackSegments(SegmentCodec& codec, Segments segments, std::size_t firstStep,
                                   std::size_t endStep, std::size_t width, double* to) const {
    const std::size_t stepCount = std::min(segmentStepCount, layout.stepCount - segments.firstStep);
    for (std::size_t element = 0; element < width; ++element) {
        const std::size_t byteCount = segments.byteCounts[element];
        if (!codec.unpack(segments.bytes, byteCount, stepCount, firstStep - segments.firstStep,
                          endStep - segments.firstStep, width, to + element)) {
            return false;
        }
        segments.bytes += byteCount;
    }
    return true;
}

/// Whether the segments that begin with a step can hold so many steps, and are in the file.
bool SegmentReader::hasSegments(std::size_t column, std::size_t start,
                                std::size_t stepCount) const {
    const std::size_t width = layout.columns[column].width;
    const std::uint32_t* const columnSizes = packed.byteCounts(packed.column(column).firstSegment);
    const std::uint32_t* const sizes = columnSizes + start / segmentStepCount * width;
    const std::uint64_t byteCount = std::accumulate(sizes, sizes + width, std::uint64_t{0});
    const std::uint64_t offset = payload + packed.column(column).values +
                                 std::accumulate(columnSizes, sizes, std::uint64_t{0});
    return byteCount >= stepCount * width * sizeof(double) / greatestPackedRatio &&
           file.hasBytes(byteCount, offset);
}

std::vector<double> SegmentReader::unpackPart(std::size_t column, std::size_t firstStep,
                                              std::size_t endStep) {
    const std::size_t width = layout.columns[column].width;
    const std::size_t start = firstStep / segmentStepCount * segmentStepCount;
    Unpacked& segment = kept[column];
    if (segment.firstStep != start) {
        const std::size_t end = std::min(start + segmentStepCount, layout.stepCount);
        segment.firstStep = Unpacked().firstStep;
        if (!hasSegments(column, start, end - start)) {
            return {};
        }
        segment.samples.resize((end - start) * width);
        if (!unpack(column, start, end, segment.samples.data())) {
            return {};
        }
        segment.firstStep = start;
    }
    const double* const first = segment.samples.data() + (firstStep - start) * width;
    return {first, first + (endStep - firstStep) * width};
}

} // namespace logging2::core::detail
