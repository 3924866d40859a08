#include <logging2/backends/recording/detail/OutlineBuilder.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/runs/Overview.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace logging2::core::detail {
namespace {

/// For each bucket, so many nodes with infinite values are looked into.
constexpr std::size_t infiniteNodesPerBucket = 8;

void widen(OutlineBucket& bucket, const ElementRange& range) {
    bucket.hasNan = bucket.hasNan || range.nanCount > 0;
    // Without any number, the least one is greater than the greatest one.
    if (range.least <= range.greatest) {
        include_value(bucket, range.least);
        include_value(bucket, range.greatest);
    }
}

/// A range without any number goes from +infinity to -infinity.
bool has_infinity(const ElementRange& range) {
    return range.least <= range.greatest && (std::isinf(range.least) || std::isinf(range.greatest));
}

/// Whether each time is at least the one before it; false if one of them is NaN.
bool is_sorted(const double* begin, const double* end) {
    return std::adjacent_find(begin, end, [](double a, double b) { return !(a <= b); }) == end;
}

} // namespace

OutlineBuilder::OutlineBuilder(double rangeFrom, double rangeTo, std::size_t numberOfBuckets,
                               std::size_t firstElementOfSignal, std::size_t elementCount)
    : from(rangeFrom),
      to(rangeTo),
      bucketCount(numberOfBuckets),
      firstElement(firstElementOfSignal),
      outlines(elementCount, Outline(numberOfBuckets)),
      infiniteNodeBudgets(elementCount, numberOfBuckets * infiniteNodesPerBucket),
      unreadBucket(numberOfBuckets) {}

void OutlineBuilder::add(const std::shared_ptr<OpenChunk>& chunk, std::size_t column,
                         std::size_t stepCount) {
    const ColumnLayout& layout = chunk->layout->columns[column];
    const std::vector<double> times = chunk->reader.root(0);
    const std::vector<double> values = chunk->reader.root(column);
    addNode({chunk, column, stepCount, layout.width},
            {layout.levels.size(), 0, times.data(), values.data()});
}

std::vector<Outline> OutlineBuilder::result() {
    endUnread();
    return std::move(outlines);
}

void OutlineBuilder::addNode(const Part& part, const Node& node) {
    const std::size_t first = node.index * ColumnLayout::stepsPerNode(node.level);
    const std::size_t end =
        std::min(first + ColumnLayout::stepsPerNode(node.level), part.chunk->layout->stepCount);
    const ElementRange time = range_of_node(node.times, 0);
    if (first >= part.stepCount || !(time.greatest >= from && time.least <= to)) {
        return;
    }
    const bool isInside =
        time.nanCount == 0 && time.least >= from && time.greatest <= to && end <= part.stepCount;
    const std::size_t bucket = isInside ? bucket_of(time.least, from, to, bucketCount) : 0;
    if (isInside && bucket == bucket_of(time.greatest, from, to, bucketCount) &&
        !mustLookInto(node.values)) {
        addUnread(part, {bucket, first, end}, node.values);
    } else if (node.level == 0) {
        addSamples(part, node);
    } else {
        addChildren(part, node);
    }
}

bool OutlineBuilder::mustLookInto(const double* valuesNode) {
    bool result = false;
    for (std::size_t e = 0; e < outlines.size(); ++e) {
        if (infiniteNodeBudgets[e] > 0 &&
            has_infinity(range_of_node(valuesNode, firstElement + e))) {
            --infiniteNodeBudgets[e];
            result = true;
        }
    }
    return result;
}

void OutlineBuilder::addChildren(const Part& part, const Node& node) {
    const std::size_t level = node.level - 1;
    const std::vector<double> times = part.chunk->reader.children(0, level, node.index, node.times);
    const std::vector<double> values =
        part.chunk->reader.children(part.column, level, node.index, node.values);
    const std::size_t timeStride = node_double_count(1);
    const std::size_t valueStride = node_double_count(part.width);
    for (std::size_t child = 0; child * timeStride < times.size(); ++child) {
        addNode(part, {level, node.index * fanOut + child, times.data() + child * timeStride,
                       values.data() + child * valueStride});
    }
}

void OutlineBuilder::addSamples(const Part& part, const Node& leaf) {
    const std::vector<double> times = part.chunk->reader.samples(0, leaf.index, leaf.times);
    const std::vector<double> samples =
        part.chunk->reader.samples(part.column, leaf.index, leaf.values);
    const std::size_t count = std::min(times.size(), part.stepCount - leaf.index * leafStepCount);
    const double* const end = times.data() + count;
    const bool areSorted = is_sorted(times.data(), end);
    for (const double* time = times.data(); time < end;) {
        if (!(from <= *time && *time <= to)) {
            ++time;
            continue;
        }
        const std::size_t bucket = bucket_of(*time, from, to, bucketCount);
        if (bucket != unreadBucket) {
            endUnread();
        }
        const double* const bucketEnd = areSorted ? endOfBucket(bucket, time, end) : time + 1;
        const double* const values =
            samples.data() + static_cast<std::size_t>(time - times.data()) * part.width;
        for (std::size_t e = 0; e < outlines.size(); ++e) {
            const double* value = values + firstElement + e;
            for (const double* t = time; t < bucketEnd; ++t, value += part.width) {
                add_sample(outlines[e][bucket], *t, *value);
            }
        }
        unreadBucket = bucketCount;
        time = bucketEnd;
    }
}

/// Where the bucket of the first time ends. The times are sorted.
const double* OutlineBuilder::endOfBucket(std::size_t bucket, const double* time,
                                          const double* end) const {
    return std::partition_point(time, end, [&](double t) {
        return t <= to && bucket_of(t, from, to, bucketCount) == bucket;
    });
}

void OutlineBuilder::addUnread(const Part& part, const Unread& unread, const double* valuesNode) {
    if (unread.bucket != unreadBucket) {
        endUnread();
    }
    const bool isFirst = outlines.front()[unread.bucket].sampleCount == 0;
    const double firstTime = isFirst ? readSample(part, unread.firstStep) : 0;
    for (std::size_t e = 0; e < outlines.size(); ++e) {
        OutlineBucket& bucket = outlines[e][unread.bucket];
        if (isFirst) {
            bucket.firstTime = firstTime;
            bucket.first = sample[firstElement + e];
        }
        bucket.sampleCount += unread.endStep - unread.firstStep;
        widen(bucket, range_of_node(valuesNode, firstElement + e));
    }
    unreadBucket = unread.bucket;
    unreadPart = part;
    unreadStep = unread.endStep - 1;
}

/// Reads the last sample of the bucket that was left.
void OutlineBuilder::endUnread() {
    if (unreadBucket < bucketCount) {
        const double time = readSample(unreadPart, unreadStep);
        for (std::size_t e = 0; e < outlines.size(); ++e) {
            outlines[e][unreadBucket].lastTime = time;
            outlines[e][unreadBucket].last = sample[firstElement + e];
        }
        unreadBucket = bucketCount;
    }
}

/// Returns its time. The values are in `sample`.
double OutlineBuilder::readSample(const Part& part, std::size_t step) {
    double time = 0;
    part.chunk->reader.read(0, step, 1, &time);
    sample.resize(part.width);
    part.chunk->reader.read(part.column, step, 1, sample.data());
    return time;
}

} // namespace logging2::core::detail
