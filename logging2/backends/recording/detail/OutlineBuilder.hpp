#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/runs/Outline.hpp>

#include <cstddef>

namespace logging2::core::detail {

/// Adds chunks to an outline. It reads the nodes of a chunk's trees from the root downwards and
/// looks at samples only where those of a leaf are in different buckets or are infinite, and where
/// a bucket begins or ends between two leaves.
class OutlineBuilder {
public:
    OutlineBuilder(double rangeFrom, double rangeTo, std::size_t numberOfBuckets,
                   std::size_t elementOfSignal);

    /// Adds the first stepCount samples of a column of the chunk.
    void add(ChunkReader& chunk, const ChunkLayout& layout, std::size_t column,
             std::size_t stepCount);

    const Outline& result() const noexcept { return outline; }

private:
    /// The part of a chunk that is being added.
    struct Part {
        ChunkReader& chunk;
        const ChunkLayout& layout;
        std::size_t column;
        std::size_t stepCount;
        std::size_t width;
    };

    /// A place in the trees of both columns, times and values.
    struct Node {
        std::size_t level;
        std::size_t index;
        const double* times;
        const double* values;
    };

    /// Samples of the part that are in one bucket and whose values are known only by their node.
    struct Unread {
        std::size_t bucket;
        std::size_t firstStep;
        std::size_t endStep;
    };

    void addNode(const Part& part, const Node& node);
    void addChildren(const Part& part, const Node& node);
    void addSamples(const Part& part, const Node& leaf);
    void addSample(double time, double value);
    void addUnread(const Part& part, const Unread& unread, const ElementRange& range);
    void endUnread(const Part& part);
    bool mustLookInto(const ElementRange& range) noexcept;

    double from;
    double to;
    std::size_t element;
    Outline outline;
    std::size_t infiniteNodeBudget;
    std::size_t unreadBucket; ///< the one whose last sample is still to be read; none if too great
    std::size_t unreadStep = 0;
};

} // namespace logging2::core::detail
