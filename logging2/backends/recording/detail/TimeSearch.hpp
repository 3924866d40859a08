#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/OpenChunks.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// Finds the samples of chunks whose time is in a range. It reads the nodes of the times' trees
/// from the root downwards and looks at times only where a leaf is partly in the range.
class TimeSearch {
public:
    TimeSearch(double rangeFrom, double rangeTo);

    /// Searches the samples of the span, which begins with the chunk's first one.
    void add(OpenChunks& chunks, const SampleSpan& span);

    /// What was found, in the order of the spans that were added.
    const std::vector<SampleSpan>& result() const noexcept { return found; }

private:
    void addNode(OpenChunk& chunk, const SampleSpan& span, std::size_t level, std::size_t node,
                 const double* times);
    void addChildren(OpenChunk& chunk, const SampleSpan& span, std::size_t level, std::size_t node,
                     const double* times);
    void addTimes(OpenChunk& chunk, const SampleSpan& span, std::size_t leaf, const double* times);
    void addSteps(const SampleSpan& span, std::size_t first, std::size_t end);

    double from;
    double to;
    std::vector<SampleSpan> found;
};

} // namespace logging2::core::detail
