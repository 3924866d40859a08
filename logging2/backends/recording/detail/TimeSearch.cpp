#include <logging2/backends/recording/detail/TimeSearch.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <algorithm>

namespace logging2::core::detail {

TimeSearch::TimeSearch(double rangeFrom, double rangeTo) : from(rangeFrom), to(rangeTo) {}

void TimeSearch::add(OpenChunks& chunks, const SampleSpan& span) {
    const ChunkRow& row = *span.chunk;
    if (row.nanTimeCount == 0 && row.leastTime >= from && row.greatestTime <= to) {
        found.push_back(span);
        return;
    }
    const std::shared_ptr<OpenChunk> chunk = chunks.open(row);
    const std::size_t top = chunk->layout->columns[0].levels.size();
    addNode(*chunk, span, top, 0, chunk->reader.root(0).data());
}

void TimeSearch::addNode(OpenChunk& chunk, const SampleSpan& span, std::size_t level,
                         std::size_t node, const double* times) {
    const std::size_t first = node * ColumnLayout::stepsPerNode(level);
    const std::size_t end = std::min(first + ColumnLayout::stepsPerNode(level), span.count);
    const ElementRange time = range_of_node(times, 0);
    if (first >= end || !(time.greatest >= from && time.least <= to)) {
        return;
    }
    if (time.nanCount == 0 && time.least >= from && time.greatest <= to) {
        addSteps(span, first, end);
    } else if (level == 0) {
        addTimes(chunk, span, node, times);
    } else {
        addChildren(chunk, span, level - 1, node, times);
    }
}

void TimeSearch::addChildren(OpenChunk& chunk, const SampleSpan& span, std::size_t level,
                             std::size_t node, const double* times) {
    const std::vector<double> nodes = chunk.reader.children(0, level, node, times);
    const std::size_t stride = node_double_count(1);
    for (std::size_t child = 0; child * stride < nodes.size(); ++child) {
        addNode(chunk, span, level, node * fanOut + child, nodes.data() + child * stride);
    }
}

void TimeSearch::addTimes(OpenChunk& chunk, const SampleSpan& span, std::size_t leaf,
                          const double* times) {
    const std::vector<double> samples = chunk.reader.samples(0, leaf, times);
    const std::size_t first = leaf * leafStepCount;
    const std::size_t count = std::min(samples.size(), span.count - first);
    for (std::size_t s = 0; s < count; ++s) {
        if (from <= samples[s] && samples[s] <= to) {
            addSteps(span, first + s, first + s + 1);
        }
    }
}

/// Continues the last span if the steps follow it.
void TimeSearch::addSteps(const SampleSpan& span, std::size_t first, std::size_t end) {
    const bool follows = !found.empty() && found.back().chunk == span.chunk &&
                         found.back().first + found.back().count == first;
    if (follows) {
        found.back().count += end - first;
    } else {
        found.push_back({span.chunk, first, end - first});
    }
}

} // namespace logging2::core::detail
