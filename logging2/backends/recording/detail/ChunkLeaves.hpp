#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>

#include <cstddef>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// Gives out the samples of one chunk leaf by leaf, so that a damaged one does not hide the others.
/// Nodes are kept until others of their level are needed, so ascending leaves cost little.
class ChunkLeaves {
public:
    /// Both must outlive the object.
    ChunkLeaves(ChunkReader& chunkReader, const ChunkLayout& chunkLayout);

    /// The samples of a leaf. Throws RecordingError if they or the nodes above them are damaged.
    std::vector<double> samples(std::size_t column, std::size_t leaf);

private:
    /// Nodes that one node describes.
    struct Siblings {
        std::optional<std::size_t> parent;
        std::vector<double> nodes;
    };

    const double* node(std::size_t column, std::size_t level, std::size_t index);

    ChunkReader& chunk;
    const ChunkLayout& layout;
    std::vector<std::vector<Siblings>> kept; ///< by column and level; the root is the topmost
};

} // namespace logging2::core::detail
