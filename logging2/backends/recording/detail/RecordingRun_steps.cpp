#include <logging2/backends/recording/detail/RecordingRun.hpp>

#include <logging2/backends/recording/detail/TimeSearch.hpp>
#include <logging2/backends/recording/detail/column_range.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

// The steps of a group and what is known about them. They are found without reading those before.

namespace logging2::core::detail {
namespace {

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
    return seriesReader.read(place.column, place.width, stepsOf(place.group).spansOf(steps));
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

StepRange RecordingRun::steps(std::size_t group, double from, double to) const {
    TimeSearch search(from, to);
    for (const SampleSpan& span : stepsOf(positionOf(group)).spansNear(from, to)) {
        search.add(chunks, span);
    }
    if (search.result().empty()) {
        return {};
    }
    const SampleSpan& front = search.result().front();
    const SampleSpan& back = search.result().back();
    const std::size_t first = front.chunk->firstStep + front.first;
    return {first, back.chunk->firstStep + back.first + back.count - first};
}

SignalSummary RecordingRun::summary(const lang::core::ValuePath& path) const {
    const Place place = placeOf(path);
    ElementRange times;
    std::vector<ElementRange> values(place.width);
    std::size_t sampleCount = 0;
    std::uint64_t byteCount = 0;
    for (const SampleSpan& span : stepsOf(place.group).spans()) {
        const std::shared_ptr<OpenChunk> chunk = chunks.open(*span.chunk);
        add_column_range(chunk->reader, *chunk->layout, 0, span.count, &times);
        add_column_range(chunk->reader, *chunk->layout, place.column, span.count, values.data());
        byteCount += chunk->reader.valueByteCount(place.column);
        sampleCount += span.count;
    }
    SignalSummary result = summary_of(times, values);
    result.sampleCount = sampleCount;
    result.byteCount = byteCount;
    return result;
}

} // namespace logging2::core::detail
