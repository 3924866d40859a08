#include <logging2/backends/recording/detail/ChunkPacker.hpp>

#include <logging2/backends/recording/detail/PackedLayout.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <cstring>

namespace logging2::core::detail {

std::optional<ChunkPacker::Packed> ChunkPacker::pack(const ChunkLayout& layout, char* payload) {
    if (layout.stepCount == 1) {
        return std::nullopt; // Nothing can be saved, and one step may be very wide.
    }
    begin(layout, payload);
    std::uint32_t* byteCounts = sizes.data();
    for (const ColumnLayout& column : layout.columns) {
        const std::uint64_t byteCount = layout.stepCount * column.width * sizeof(double);
        if (!appendSegments(layout, column, doubles_at(payload, column.values), byteCounts)) {
            append(payload + column.values, byteCount);
        }
        pad(sizeof(double));
        const std::uint64_t nodes = column.values + byteCount;
        append(payload + nodes, column.end - nodes);
        pad(alignment);
        byteCounts += column.width * segments_per_element(layout);
    }
    if (used >= layout.byteCount) {
        return std::nullopt;
    }
    std::memcpy(output.get() + segment_table_offset(layout), sizes.data(),
                sizes.size() * sizeof(std::uint32_t));
    std::memcpy(payload, output.get(), used);
    return Packed{packed_directory_byte_count(layout), used};
}

/// Makes room, and begins with the directory, whose segments have no sizes yet.
void ChunkPacker::begin(const ChunkLayout& layout, const char* payload) {
    sizes.assign(segment_count(layout), 0);
    const std::uint64_t directory = packed_directory_byte_count(layout);
    const std::size_t needed =
        directory + layout.byteCount + packed_byte_count_limit(segmentStepCount);
    if (capacity < needed) {
        output.reset();
        capacity = 0;
        output.reset(new char[needed]);
        capacity = needed;
    }
    const std::uint64_t roots = segment_table_offset(layout);
    std::memcpy(output.get(), payload, roots);
    std::memset(output.get() + roots, 0, directory - roots);
    used = directory;
}

void ChunkPacker::append(const char* bytes, std::uint64_t byteCount) {
    std::memcpy(output.get() + used, bytes, byteCount);
    used += byteCount;
}

/// Appends zeros up to the next multiple of a number.
void ChunkPacker::pad(std::size_t multiple) {
    const std::size_t end = (used + multiple - 1) / multiple * multiple;
    std::memset(output.get() + used, 0, end - used);
    used = end;
}

/// Appends the column's segments and their sizes; neither, if that would save less than 15 %.
bool ChunkPacker::appendSegments(const ChunkLayout& layout, const ColumnLayout& column,
                                 const double* values, std::uint32_t* byteCounts) {
    const std::size_t limit = layout.stepCount * column.width * sizeof(double) * 85 / 100;
    const std::size_t start = used;
    std::size_t segment = 0;
    for (std::size_t step = 0; step < layout.stepCount; step += segmentStepCount) {
        const std::size_t stepCount = std::min(segmentStepCount, layout.stepCount - step);
        for (std::size_t element = 0; element < column.width; ++element, ++segment) {
            const double* const first = values + step * column.width + element;
            const std::size_t size =
                codec.pack(first, column.width, stepCount, output.get() + used);
            used += size;
            byteCounts[segment] = static_cast<std::uint32_t>(size);
            if (used - start + (segment + 1) * sizeof(std::uint32_t) > limit) {
                std::fill_n(byteCounts, segment + 1, 0);
                used = start;
                return false;
            }
        }
    }
    return true;
}

} // namespace logging2::core::detail
