#include <logging2/backends/recording/detail/PackedLayout.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/SegmentCodec.hpp>

#include <numeric>
#include <utility>

namespace logging2::core::detail {

std::size_t segments_per_element(const ChunkLayout& layout) {
    return (layout.stepCount + segmentStepCount - 1) / segmentStepCount;
}

std::size_t segment_count(const ChunkLayout& layout) {
    const std::size_t perElement = segments_per_element(layout);
    return std::accumulate(layout.columns.begin(), layout.columns.end(), std::size_t{0},
                           [=](std::size_t count, const ColumnLayout& column) {
                               return count + column.width * perElement;
                           });
}

std::uint64_t segment_table_offset(const ChunkLayout& layout) {
    const ColumnLayout& last = layout.columns.back();
    return last.root + node_double_count(last.width) * sizeof(double);
}

std::uint64_t packed_directory_byte_count(const ChunkLayout& layout) {
    return aligned(segment_table_offset(layout) + segment_count(layout) * sizeof(std::uint32_t));
}

PackedLayout::PackedLayout(const ChunkLayout& layout, std::vector<std::uint32_t> segmentByteCounts)
    : sizes(std::move(segmentByteCounts)),
      end(packed_directory_byte_count(layout)) {
    const std::size_t perElement = segments_per_element(layout);
    std::size_t firstSegment = 0;
    for (const ColumnLayout& raw : layout.columns) {
        const std::size_t count = raw.width * perElement;
        const auto first = sizes.begin() + static_cast<std::ptrdiff_t>(firstSegment);
        const std::uint64_t packed =
            std::accumulate(first, first + static_cast<std::ptrdiff_t>(count), std::uint64_t{0});
        const std::uint64_t whole = layout.stepCount * raw.width * sizeof(double);
        const std::uint64_t values = packed == 0 ? whole : padded(packed);
        columns.push_back({end, end + values, firstSegment, packed != 0});
        end = aligned(end + values + (raw.end - raw.values - whole));
        firstSegment += count;
    }
}

} // namespace logging2::core::detail
