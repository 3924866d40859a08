#include <logging2/backends/recording/detail/RecordingRun.hpp>

#include <logging2/backends/recording/detail/column_range.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

// The steps of a group and what is known about them. They are found without reading those before.

namespace logging2::core::detail {
namespace {

/// The part of spans that starts after so many samples and has so many.
std::vector<SampleSpan> part_of(const std::vector<SampleSpan>& spans, StepRange steps) {
    std::vector<SampleSpan> result;
    std::size_t skipped = steps.first;
    std::size_t left = steps.count;
    for (const SampleSpan& span : spans) {
        if (left == 0) {
            break;
        }
        if (skipped >= span.count) {
            skipped -= span.count;
            continue;
        }
        result.push_back({span.chunk, span.first + skipped, std::min(left, span.count - skipped)});
        left -= result.back().count;
        skipped = 0;
    }
    return result;
}

SignalSummary summary_of(const ElementRange& times, const std::vector<ElementRange>& values) {
    SignalSummary result;
    if (times.least <= times.greatest) {
        result.leastTime = times.least;
        result.greatestTime = times.greatest;
    }
    for (const ElementRange& range : values) {
        result.least.push_back(range.least);
        result.greatest.push_back(range.greatest);
        result.nanCount.push_back(static_cast<std::size_t>(range.nanCount));
    }
    return result;
}

} // namespace

Series RecordingRun::series(const lang::core::ValuePath& path, StepRange steps) const {
    const Place place = placeOf(path);
    const std::size_t stepCount = stepCountOf(state.groups[place.group]);
    if (steps.first > stepCount || steps.count > stepCount - steps.first) {
        throw std::out_of_range(location + ": \"" + path.text() + "\" has only " +
                                std::to_string(stepCount) + " steps");
    }
    return seriesOf(place, part_of(spansOf(place.group), steps));
}

std::size_t RecordingRun::positionOf(std::size_t groupId) const {
    const auto group =
        std::find_if(description.groups.begin(), description.groups.end(),
                     [groupId](const DescribedGroup& each) { return each.id == groupId; });
    if (group == description.groups.end()) {
        throw std::out_of_range(location + ": there is no group " + std::to_string(groupId));
    }
    return static_cast<std::size_t>(group - description.groups.begin());
}

std::vector<double> RecordingRun::timesOf(const SampleSpan& span) const {
    std::vector<double> times(span.count);
    withChunk(*span.chunk, [&](const ChunkReader& chunk) {
        chunk.read(0, span.first, span.count, times.data());
    });
    return times;
}

/// The steps of the span, numbered from its group's first, from the first to the last one in [from,
/// to].
StepRange RecordingRun::stepsOf(const SampleSpan& span, double from, double to) const {
    if (!(span.chunk->greatestTime >= from && span.chunk->leastTime <= to)) {
        return {};
    }
    const std::vector<double> times = timesOf(span);
    const auto isInside = [from, to](double time) { return from <= time && time <= to; };
    const auto first = std::find_if(times.begin(), times.end(), isInside);
    if (first == times.end()) {
        return {};
    }
    const auto end = std::find_if(times.rbegin(), times.rend(), isInside).base();
    return {span.chunk->firstStep + static_cast<std::size_t>(first - times.begin()),
            static_cast<std::size_t>(end - first)};
}

StepRange RecordingRun::steps(std::size_t group, double from, double to) const {
    const std::vector<SampleSpan> spans = spansOf(positionOf(group));
    StepRange result;
    for (auto span = spans.begin(); span != spans.end() && result.count == 0; ++span) {
        result = stepsOf(*span, from, to);
    }
    StepRange last;
    for (auto span = spans.rbegin(); span != spans.rend() && last.count == 0; ++span) {
        last = stepsOf(*span, from, to);
    }
    result.count = last.first + last.count - result.first;
    return result;
}

SignalSummary RecordingRun::summary(const lang::core::ValuePath& path) const {
    const Place place = placeOf(path);
    ElementRange times;
    std::vector<ElementRange> values(place.width);
    std::size_t sampleCount = 0;
    std::uint64_t byteCount = 0;
    for (const SampleSpan& span : spansOf(place.group)) {
        withChunk(*span.chunk, [&](const ChunkReader& chunk) {
            const ChunkLayout& layout = layoutOf(*span.chunk);
            add_column_range(chunk, layout, 0, span.count, &times);
            add_column_range(chunk, layout, place.column, span.count, values.data());
            byteCount += chunk.valueByteCount(place.column);
        });
        sampleCount += span.count;
    }
    SignalSummary result = summary_of(times, values);
    result.sampleCount = sampleCount;
    result.byteCount = byteCount;
    return result;
}

} // namespace logging2::core::detail
