#include <logging2/backends/recording/detail/OverviewBuilder.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <algorithm>
#include <limits>

namespace logging2::core::detail {
namespace {

/// How many NaN a node of so many samples tells of. A node that was made up could tell anything.
std::size_t nan_count_of(const ElementRange& range, std::size_t sampleCount) {
    return range.nanCount > 0 ? static_cast<std::size_t>(
                                    std::min(range.nanCount, static_cast<double>(sampleCount)))
                              : 0;
}

void widen(Overview& overview, std::size_t index, const ElementRange& range,
           std::size_t sampleCount) {
    overview.least[index] = std::min(overview.least[index], range.least);
    overview.greatest[index] = std::max(overview.greatest[index], range.greatest);
    overview.nanCount[index] += nan_count_of(range, sampleCount);
}

} // namespace

OverviewBuilder::OverviewBuilder(double rangeFrom, double rangeTo, std::size_t numberOfBuckets,
                                 std::size_t sampleWidth)
    : from(rangeFrom),
      to(rangeTo),
      bucketCount(numberOfBuckets) {
    overview.width = sampleWidth;
    overview.least.assign(bucketCount * sampleWidth, std::numeric_limits<double>::infinity());
    overview.greatest.assign(bucketCount * sampleWidth, -std::numeric_limits<double>::infinity());
    overview.nanCount.assign(bucketCount * sampleWidth, 0);
    overview.sampleCount.assign(bucketCount, 0);
}

void OverviewBuilder::add(ChunkReader& chunk, const ChunkLayout& layout, std::size_t column,
                          std::size_t stepCount) {
    const Part part{chunk, layout, column, stepCount};
    const std::size_t top = layout.columns[column].levels.size();
    addNode(part, top, 0, chunk.root(0).data(), chunk.root(column).data());
}

/// The node of the level describes samples of both columns, times and values.
void OverviewBuilder::addNode(const Part& part, std::size_t level, std::size_t node,
                              const double* times, const double* values) {
    const std::size_t first = node * ColumnLayout::stepsPerNode(level);
    const std::size_t end =
        std::min(first + ColumnLayout::stepsPerNode(level), part.layout.stepCount);
    const ElementRange time = range_of_node(times, 0);
    if (first >= part.stepCount || !(time.greatest >= from && time.least <= to)) {
        return;
    }
    const bool isInside = time.nanCount == 0 && time.least >= from && time.greatest <= to;
    const std::size_t bucket = isInside ? bucket_of(time.least, from, to, bucketCount) : 0;
    if (isInside && end <= part.stepCount &&
        bucket == bucket_of(time.greatest, from, to, bucketCount)) {
        overview.sampleCount[bucket] += end - first;
        for (std::size_t element = 0; element < overview.width; ++element) {
            widen(overview, bucket * overview.width + element, range_of_node(values, element),
                  end - first);
        }
    } else if (level == 0) {
        addSamples(part, node, times, values);
    } else {
        addChildren(part, level - 1, node, times, values);
    }
}

void OverviewBuilder::addChildren(const Part& part, std::size_t level, std::size_t node,
                                  const double* times, const double* values) {
    const std::vector<double> timeNodes = part.chunk.children(0, level, node, times);
    const std::vector<double> valueNodes = part.chunk.children(part.column, level, node, values);
    const std::size_t timeStride = node_double_count(1);
    const std::size_t valueStride = node_double_count(overview.width);
    for (std::size_t child = 0; child * timeStride < timeNodes.size(); ++child) {
        addNode(part, level, node * fanOut + child, timeNodes.data() + child * timeStride,
                valueNodes.data() + child * valueStride);
    }
}

void OverviewBuilder::addSamples(const Part& part, std::size_t leaf, const double* times,
                                 const double* values) {
    const std::vector<double> sampleTimes = part.chunk.samples(0, leaf, times);
    const std::vector<double> samples = part.chunk.samples(part.column, leaf, values);
    const std::size_t count = std::min(sampleTimes.size(), part.stepCount - leaf * leafStepCount);
    for (std::size_t s = 0; s < count; ++s) {
        if (!(from <= sampleTimes[s] && sampleTimes[s] <= to)) {
            continue;
        }
        const std::size_t bucket = bucket_of(sampleTimes[s], from, to, bucketCount);
        ++overview.sampleCount[bucket];
        for (std::size_t element = 0; element < overview.width; ++element) {
            ElementRange range;
            add_samples(&samples[s * overview.width + element], 1, 1, &range);
            widen(overview, bucket * overview.width + element, range, 1);
        }
    }
}

} // namespace logging2::core::detail
