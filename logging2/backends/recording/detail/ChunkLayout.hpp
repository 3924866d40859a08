#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace logging2::core::detail {

/// A leaf of a column's tree describes this many samples.
constexpr std::size_t leafStepCount = 256;

/// An inner node describes this many nodes of the level below.
constexpr std::size_t fanOut = 32;

/// What a node of a column's tree says about the values of one element of the channel.
struct ElementRange {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
    double nanCount = 0;
};

/// The number of doubles of a node in a file: the hash of what it describes, and an ElementRange
/// for each of the width elements of a sample.
constexpr std::size_t node_double_count(std::size_t width) {
    return 1 + 3 * width;
}

/// One column of a chunk: S samples of w doubles, and the tree that describes them.
///
/// The leaves are level 0. The levels with more than one node follow the column in the file, the
/// lowest first; the topmost node, the root, stands in the chunk's directory.
struct ColumnLayout {
    std::size_t width = 1;
    std::uint64_t root = 0;              ///< where the root stands, from the payload's start
    std::uint64_t values = 0;            ///< where the values start
    std::vector<std::uint64_t> levels;   ///< where the nodes of each level below the root start
    std::vector<std::size_t> nodeCounts; ///< of each of these levels
    std::uint64_t end = 0;               ///< behind the last byte

    /// How many samples a node of that level describes, as far as there are samples.
    static std::size_t stepsPerNode(std::size_t level);
};

/// Where everything of a chunk stands: the directory, and behind it each column at a multiple of
/// the alignment. Column 0 holds the times, of width 1; column k + 1 channel k.
struct ChunkLayout {
    std::size_t stepCount = 0;
    std::vector<ColumnLayout> columns;
    std::uint64_t directoryByteCount = 0;
    std::uint64_t byteCount = 0;
};

/// The layout of stepCount samples of channels of these widths. Throws std::length_error if the
/// chunk would have more than 2^62 bytes.
ChunkLayout layout_of(const std::vector<std::size_t>& widths, std::size_t stepCount);

} // namespace logging2::core::detail
