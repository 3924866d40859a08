#include <logging2/backends/recording/detail/ChunkLeaves.hpp>

namespace logging2::core::detail {

ChunkLeaves::ChunkLeaves(ChunkReader& chunkReader, const ChunkLayout& chunkLayout)
    : chunk(chunkReader),
      layout(chunkLayout),
      kept(chunkLayout.columns.size()) {
    for (std::size_t column = 0; column < kept.size(); ++column) {
        kept[column].resize(layout.columns[column].levels.size() + 1);
    }
}

std::vector<double> ChunkLeaves::samples(std::size_t column, std::size_t leaf) {
    return chunk.samples(column, leaf, node(column, 0, leaf));
}

const double* ChunkLeaves::node(std::size_t column, std::size_t level, std::size_t index) {
    Siblings& siblings = kept[column][level];
    const std::size_t parent = index / fanOut;
    if (siblings.parent != parent) {
        siblings.parent.reset();
        const bool isRoot = level == layout.columns[column].levels.size();
        siblings.nodes =
            isRoot ? chunk.root(column)
                   : chunk.children(column, level, parent, node(column, level + 1, parent));
        siblings.parent = parent;
    }
    return siblings.nodes.data() + index % fanOut * node_double_count(layout.columns[column].width);
}

} // namespace logging2::core::detail
