#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <cstddef>
#include <cstdint>

namespace logging2::core::detail {

// A node is an array of node_double_count(width) doubles: the bits of a hash, then least, greatest
// and nanCount of each element. A leaf's hash is that of its samples' bytes, another node's that of
// the bytes of the nodes that it describes.

/// The hash that the node holds.
std::uint64_t hash_of_node(const double* node);

/// What the node says about an element.
ElementRange range_of_node(const double* node, std::size_t element);

/// Writes the leaf that describes count samples of the width.
void write_leaf(const double* samples, std::size_t count, std::size_t width, double* leaf);

/// Writes the node that describes nodeCount nodes of the level below.
void write_node(const double* nodes, std::size_t nodeCount, std::size_t width, double* node);

/// Widens the range of each element by what the node says.
void add_node(const double* node, std::size_t width, ElementRange* ranges);

/// Widens the range of each element by count samples.
void add_samples(const double* samples, std::size_t count, std::size_t width, ElementRange* ranges);

} // namespace logging2::core::detail
