#include <logging2/backends/recording/detail/RecordingRun.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/OutlineBuilder.hpp>
#include <logging2/backends/recording/detail/OverviewBuilder.hpp>
#include <logging2/backends/recording/detail/TimeSearch.hpp>
#include <logging2/runs/detail/check_buckets.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace logging2::core::detail {
namespace {

/// So many neighbouring elements are outlined in one go and kept: reading costs most, and whoever
/// shows one element of a vector is likely to show the others, too.
constexpr std::size_t elementsTogether = 4;

/// So many answers are kept.
constexpr std::size_t greatestAnswerCount = 8;

/// Longer outlines are made one by one and not kept.
constexpr std::size_t greatestKeptBucketCount = 4096;

} // namespace

RecordingRun::RecordingRun(const std::string& directory, SampleAccess access)
    : location(directory),
      index(directory),
      data(DataFile::open(directory + "/samples.bin")),
      description(index.description()),
      chunks(location, data, run, description),
      seriesReader(location, data, chunks, access) {
    checkDescription();
    checkPlaces();
    refresh();
}

/// Compares what the index says with the description in the data file.
void RecordingRun::checkDescription() const {
    RecordHeader header;
    data.read(&header, sizeof header, 0);
    if (const char* const fault = fault_of(header); fault != nullptr) {
        throw RecordingError(data.name(), fault);
    }
    std::string text = text_of(description);
    text.resize(aligned(text.size()), '\0');
    if (hash_of(text.data(), text.size()) != header.payloadHash) {
        throw RecordingError(location, "the index and the data file belong to different "
                                       "recordings, or one of them is damaged");
    }
}

void RecordingRun::checkPlaces() {
    try {
        run = run_id_of(description.id);
        description_of(text_of(description));
        time_of(description.start);
    } catch (const std::runtime_error& error) {
        throw RecordingError(location, error.what());
    }
    for (std::size_t group = 0; group < description.groups.size(); ++group) {
        for (const DescribedPath& path : description.groups[group].paths) {
            places[path.text] = {group, path.channel + 1,
                                 description.groups[group].channels[path.channel].width};
        }
    }
}

bool RecordingRun::refresh() {
    // Asked first: a writer that ends in between is seen at the next call.
    const bool isClaimed = data.isClaimed();
    const Answers former = answers();
    index.refresh(state);
    chunks.forget();
    visible.clear();
    claimed = isClaimed;
    const bool hasChanged = former != answers();
    if (hasChanged) {
        keptOutlines.clear();
    }
    return hasChanged;
}

RecordingRun::Answers RecordingRun::answers() const {
    std::vector<std::size_t> stepCounts;
    for (const StoredGroup& group : state.groups) {
        stepCounts.push_back(stepCountOf(group));
    }
    return {state.revision, stateOfRun(), std::move(stepCounts)};
}

bool RecordingRun::isRunning() const {
    return claimed && state.state == "running";
}

RunState RecordingRun::stateOfRun() const {
    if (isRunning()) {
        return RunState::running;
    }
    return state.state == "finished" ? RunState::finished : RunState::interrupted;
}

std::size_t RecordingRun::stepCountOf(const StoredGroup& group) const {
    return isRunning() ? group.shownStepCount : group.stepCount;
}

RunInfo RecordingRun::info() const {
    RunInfo info;
    info.id = description.id;
    info.name = description.name;
    info.start = time_of(description.start);
    info.properties = description.properties;
    info.revision = state.revision;
    info.host = description.host;
    info.process = description.process;
    info.libraryVersion = description.libraryVersion;
    info.state = stateOfRun();
    if (!state.end.empty()) {
        info.end = time_of(state.end);
    }
    return info;
}

const VisibleSteps& RecordingRun::stepsOf(std::size_t group) const {
    visible.resize(state.groups.size());
    if (!visible[group]) {
        visible[group].emplace(state.groups[group], stepCountOf(state.groups[group]));
    }
    return *visible[group];
}

RunContent RecordingRun::content() const {
    const char* const endState = state.state == "finished" ? "finished" : "interrupted";
    RunContent result{data, description, state.revision, {endState, state.end}, {}};
    for (std::size_t group = 0; group < description.groups.size(); ++group) {
        result.groups.push_back(stepsOf(group).spans());
        for (const SampleSpan& span : result.groups.back()) {
            chunks.open(*span.chunk);
        }
    }
    return result;
}

std::vector<GroupInfo> RecordingRun::groups() const {
    std::vector<GroupInfo> result;
    for (std::size_t group = 0; group < description.groups.size(); ++group) {
        const std::vector<SampleSpan>& spans = stepsOf(group).spans();
        GroupInfo info;
        info.id = description.groups[group].id;
        info.stepCount = sample_count(spans);
        if (!spans.empty()) {
            info.firstTime = spans.front().chunk->firstTime;
            double time = 0;
            chunks.open(*spans.back().chunk)->reader.read(0, spans.back().count - 1, 1, &time);
            info.lastTime = time;
        }
        result.push_back(info);
    }
    return result;
}

std::vector<SignalInfo> RecordingRun::signals() const {
    std::vector<SignalInfo> result;
    for (const DescribedGroup& group : description.groups) {
        for (const DescribedPath& path : group.paths) {
            const DescribedChannel& channel = group.channels[path.channel];
            result.push_back(
                {lang::core::ValuePath(path.text), group.id, channel.number, channel.width});
        }
    }
    return result;
}

RecordingRun::Place RecordingRun::placeOf(const lang::core::ValuePath& path) const {
    const std::string& text = path.text();
    const auto place = places.find(text);
    if (place == places.end()) {
        throw std::out_of_range(location + ": there is no signal \"" + text + '"');
    }
    return place->second;
}

Series RecordingRun::series(const lang::core::ValuePath& path) const {
    const Place place = placeOf(path);
    return seriesReader.read(place.column, place.width, stepsOf(place.group).spans());
}

Series RecordingRun::series(const lang::core::ValuePath& path, double from, double to) const {
    const Place place = placeOf(path);
    TimeSearch search(from, to);
    for (const SampleSpan& span : stepsOf(place.group).spansNear(from, to)) {
        search.add(chunks, span);
    }
    return seriesReader.read(place.column, place.width, search.result());
}

Overview RecordingRun::overview(const lang::core::ValuePath& path, double from, double to,
                                std::size_t bucketCount) const {
    const Place place = placeOf(path);
    check_buckets(from, to, bucketCount, place.width);
    OverviewBuilder builder(from, to, bucketCount, place.width);
    for (const SampleSpan& span : stepsOf(place.group).spansNear(from, to)) {
        const std::shared_ptr<OpenChunk> chunk = chunks.open(*span.chunk);
        builder.add(chunk->reader, *chunk->layout, place.column, span.count);
    }
    return builder.result();
}

Outline RecordingRun::outline(const lang::core::ValuePath& path, std::size_t element, double from,
                              double to, std::size_t bucketCount) const {
    const Place place = placeOf(path);
    check_buckets(from, to, bucketCount, 1);
    if (element >= place.width) {
        throw std::out_of_range(location + ": \"" + path.text() + "\" has no element " +
                                std::to_string(element));
    }
    if (bucketCount > greatestKeptBucketCount) {
        return std::move(makeOutlines(place, {element, 1}, from, to, bucketCount).front());
    }
    const std::size_t first = element / elementsTogether * elementsTogether;
    const OutlineQuestion question{place.group, place.column, first, from, to, bucketCount};
    auto kept = std::find_if(keptOutlines.begin(), keptOutlines.end(),
                             [&question](const auto& each) { return each.first == question; });
    if (kept == keptOutlines.end()) {
        const std::size_t count = std::min(elementsTogether, place.width - first);
        std::vector<Outline> outlines = makeOutlines(place, {first, count}, from, to, bucketCount);
        if (keptOutlines.size() == greatestAnswerCount) {
            keptOutlines.pop_front();
        }
        kept = keptOutlines.emplace(keptOutlines.end(), question, std::move(outlines));
    }
    return kept->second[element - first];
}

std::vector<Outline> RecordingRun::makeOutlines(const Place& place, const Elements& elements,
                                                double from, double to,
                                                std::size_t bucketCount) const {
    OutlineBuilder builder(from, to, bucketCount, elements.first, elements.count);
    for (const SampleSpan& span : stepsOf(place.group).spansNear(from, to)) {
        builder.add(chunks.open(*span.chunk), place.column, span.count);
    }
    return builder.result();
}

} // namespace logging2::core::detail
