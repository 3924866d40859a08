#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <stdexcept>

namespace logging2::core::detail {
namespace {

constexpr std::uint64_t greatestByteCount = std::uint64_t{1} << 62;

/// The bytes of count times doubleCount doubles.
std::uint64_t bytes_of(std::uint64_t count, std::uint64_t doubleCount) {
    if (doubleCount != 0 && count > greatestByteCount / sizeof(double) / doubleCount) {
        throw std::length_error("a chunk of a recording cannot be so large");
    }
    return count * doubleCount * sizeof(double);
}

std::size_t divided_up(std::size_t count, std::size_t divisor) {
    return count / divisor + (count % divisor == 0 ? 0 : 1);
}

void place(ColumnLayout& column, std::size_t stepCount, std::uint64_t offset) {
    column.values = offset;
    offset += bytes_of(stepCount, column.width);
    for (std::size_t nodes = divided_up(stepCount, leafStepCount); nodes > 1;
         nodes = divided_up(nodes, fanOut)) {
        column.levels.push_back(offset);
        column.nodeCounts.push_back(nodes);
        offset += bytes_of(nodes, node_double_count(column.width));
    }
    column.end = offset;
}

} // namespace

std::size_t ColumnLayout::stepsPerNode(std::size_t level) {
    std::size_t steps = leafStepCount;
    for (; level > 0; --level) {
        steps *= fanOut;
    }
    return steps;
}

ChunkLayout layout_of(const std::vector<std::size_t>& widths, std::size_t stepCount) {
    ChunkLayout layout;
    layout.stepCount = stepCount;
    layout.columns.resize(widths.size() + 1);
    std::uint64_t offset = 0;
    for (std::size_t k = 0; k < layout.columns.size(); ++k) {
        layout.columns[k].width = k == 0 ? 1 : widths[k - 1];
        layout.columns[k].root = offset;
        offset += bytes_of(1, node_double_count(layout.columns[k].width));
    }
    layout.directoryByteCount = aligned(offset);
    offset = layout.directoryByteCount;
    for (ColumnLayout& column : layout.columns) {
        place(column, stepCount, offset);
        offset = aligned(column.end);
        bytes_of(offset, 1); // throws if there are too many
    }
    layout.byteCount = offset;
    return layout;
}

} // namespace logging2::core::detail
