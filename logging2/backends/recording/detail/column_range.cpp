#include <logging2/backends/recording/detail/column_range.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <algorithm>
#include <vector>

namespace logging2::core::detail {
namespace {

/// The first stepCount samples of a column of a chunk.
struct Part {
    ChunkReader& chunk;
    const ChunkLayout& layout;
    std::size_t column;
    std::size_t stepCount;
};

/// Adds those samples of the part that the node of the level describes.
void add_part_of_node(const Part& part, std::size_t level, std::size_t node, const double* bytes,
                      ElementRange* ranges) {
    const std::size_t width = part.layout.columns[part.column].width;
    const std::size_t perNode = ColumnLayout::stepsPerNode(level);
    const std::size_t first = node * perNode;
    if (first >= part.stepCount) {
        return;
    }
    if (std::min(first + perNode, part.layout.stepCount) <= part.stepCount) {
        add_node(bytes, width, ranges);
    } else if (level == 0) {
        add_samples(part.chunk.samples(part.column, node, bytes).data(), part.stepCount - first,
                    width, ranges);
    } else {
        const std::vector<double> below = part.chunk.children(part.column, level - 1, node, bytes);
        const std::size_t stride = node_double_count(width);
        for (std::size_t child = 0; child * stride < below.size(); ++child) {
            add_part_of_node(part, level - 1, node * fanOut + child, below.data() + child * stride,
                             ranges);
        }
    }
}

} // namespace

void add_column_range(ChunkReader& chunk, const ChunkLayout& layout, std::size_t column,
                      std::size_t stepCount, ElementRange* ranges) {
    add_part_of_node({chunk, layout, column, stepCount}, layout.columns[column].levels.size(), 0,
                     chunk.root(column).data(), ranges);
}

} // namespace logging2::core::detail
