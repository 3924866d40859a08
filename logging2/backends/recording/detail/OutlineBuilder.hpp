#pragma once

#include <logging2/backends/recording/detail/OpenChunks.hpp>
#include <logging2/runs/Outline.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Adds chunks to the outlines of some neighbouring elements. It reads the nodes of a chunk's trees
/// from the root downwards and looks at samples only where those of a leaf are in different buckets
/// or are infinite, and where a bucket begins or ends between two leaves.
class OutlineBuilder {
public:
    OutlineBuilder(double rangeFrom, double rangeTo, std::size_t numberOfBuckets,
                   std::size_t firstElementOfSignal, std::size_t elementCount);

    /// Adds the first stepCount samples of a column of the chunk.
    void add(const std::shared_ptr<OpenChunk>& chunk, std::size_t column, std::size_t stepCount);

    /// The outline of each element, of what was added. To be called once, at the end.
    std::vector<Outline> result();

private:
    /// The part of a chunk that is being added.
    struct Part {
        std::shared_ptr<OpenChunk> chunk;
        std::size_t column = 0;
        std::size_t stepCount = 0;
        std::size_t width = 0;
    };

    /// A place in the trees of both columns, times and values.
    struct Node {
        std::size_t level;
        std::size_t index;
        const double* times;
        const double* values;
    };

    /// Samples of the part that are in one bucket and were not read.
    struct Unread {
        std::size_t bucket;
        std::size_t firstStep;
        std::size_t endStep;
    };

    void addNode(const Part& part, const Node& node);
    void addChildren(const Part& part, const Node& node);
    void addSamples(const Part& part, const Node& leaf);
    const double* endOfBucket(std::size_t bucket, const double* time, const double* end) const;
    void addUnread(const Part& part, const Unread& unread, const double* valuesNode);
    void endUnread();
    double readSample(const Part& part, std::size_t step);
    bool mustLookInto(const double* valuesNode);

    double from;
    double to;
    std::size_t bucketCount;
    std::size_t firstElement;
    std::vector<Outline> outlines;
    std::vector<std::size_t> infiniteNodeBudgets;
    std::size_t unreadBucket; ///< whose last sample is still to be read; none if it is too great
    Part unreadPart;
    std::size_t unreadStep = 0;
    std::vector<double> sample; ///< that was read last
};

} // namespace logging2::core::detail
