#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/runs/Overview.hpp>

#include <cstddef>

namespace logging2::core::detail {

/// Adds chunks to an overview. It reads the nodes of a chunk's trees from the root downwards and
/// looks at samples only where the samples of a leaf are in different buckets.
class OverviewBuilder {
public:
    OverviewBuilder(double rangeFrom, double rangeTo, std::size_t numberOfBuckets,
                    std::size_t sampleWidth);

    /// Adds the first stepCount samples of a column of the chunk.
    void add(ChunkReader& chunk, const ChunkLayout& layout, std::size_t column,
             std::size_t stepCount);

    const Overview& result() const noexcept { return overview; }

private:
    /// The part of a chunk that is being added.
    struct Part {
        ChunkReader& chunk;
        const ChunkLayout& layout;
        std::size_t column;
        std::size_t stepCount;
    };

    void addNode(const Part& part, std::size_t level, std::size_t node, const double* times,
                 const double* values);
    void addSamples(const Part& part, std::size_t leaf, const double* times, const double* values);
    void addChildren(const Part& part, std::size_t level, std::size_t node, const double* times,
                     const double* values);

    double from;
    double to;
    std::size_t bucketCount;
    Overview overview;
};

} // namespace logging2::core::detail
