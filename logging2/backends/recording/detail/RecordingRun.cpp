#include <logging2/backends/recording/detail/RecordingRun.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/OverviewBuilder.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace logging2::core::detail {
namespace {

/// So many layouts are kept; those of whole chunks are used again and again.
constexpr std::size_t keptLayoutCount = 64;

/// No bytes become more than so many times as many when LZ4 unpacks them.
constexpr std::size_t greatestPackedRatio = 256;

std::size_t sample_count(const std::vector<SampleSpan>& spans) {
    return std::accumulate(
        spans.begin(), spans.end(), std::size_t{0},
        [](std::size_t count, const SampleSpan& span) { return count + span.count; });
}

void check_range(double from, double to, std::size_t bucketCount) {
    if (bucketCount == 0 || !std::isfinite(from) || !std::isfinite(to) || from > to) {
        throw std::invalid_argument("an overview needs a finite range of time that does not end "
                                    "before it begins, and at least one bucket");
    }
}

/// The numbers of an overview are in vectors.
void check_bucket_count(std::size_t bucketCount, std::size_t width) {
    const std::size_t greatest = std::vector<double>().max_size() / std::max(width, std::size_t{1});
    if (bucketCount > greatest) {
        throw std::invalid_argument("an overview has at most " + std::to_string(greatest) +
                                    " buckets");
    }
}

} // namespace

RecordingRun::RecordingRun(const std::string& directory)
    : location(directory),
      index(directory),
      data(DataFile::open(directory + "/samples.bin")),
      description(index.description()) {
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
    claimed = isClaimed;
    return former != answers();
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
    info.state = stateOfRun();
    if (!state.end.empty()) {
        info.end = time_of(state.end);
    }
    return info;
}

std::vector<SampleSpan> RecordingRun::spansOf(std::size_t group) const {
    std::vector<SampleSpan> spans;
    const StoredGroup& stored = state.groups[group];
    std::size_t left = stepCountOf(stored);
    for (const ChunkRow& chunk : stored.chunks) {
        if (left == 0) {
            break;
        }
        spans.push_back({&chunk, 0, std::min(left, chunk.stepCount)});
        left -= spans.back().count;
    }
    return spans;
}

RunContent RecordingRun::content() const {
    const char* const endState = state.state == "finished" ? "finished" : "interrupted";
    RunContent result{data, description, state.revision, {endState, state.end}, {}};
    for (std::size_t group = 0; group < description.groups.size(); ++group) {
        result.groups.push_back(spansOf(group));
        for (const SampleSpan& span : result.groups.back()) {
            withChunk(*span.chunk, [](const ChunkReader&) {});
        }
    }
    return result;
}

std::vector<GroupInfo> RecordingRun::groups() const {
    std::vector<GroupInfo> result;
    for (std::size_t group = 0; group < description.groups.size(); ++group) {
        const std::vector<SampleSpan> spans = spansOf(group);
        GroupInfo info;
        info.id = description.groups[group].id;
        info.stepCount = sample_count(spans);
        if (!spans.empty()) {
            info.firstTime = spans.front().chunk->firstTime;
            withChunk(*spans.back().chunk, [&](const ChunkReader& chunk) {
                double time = 0;
                chunk.read(0, spans.back().count - 1, 1, &time);
                info.lastTime = time;
            });
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
    return seriesOf(place, spansOf(place.group));
}

Series RecordingRun::series(const lang::core::ValuePath& path, double from, double to) const {
    const Place place = placeOf(path);
    std::vector<SampleSpan> spans;
    for (const SampleSpan& span : spansOf(place.group)) {
        if (span.chunk->greatestTime >= from && span.chunk->leastTime <= to) {
            addSpansBetween(span, from, to, spans);
        }
    }
    return seriesOf(place, spans);
}

void RecordingRun::addSpansBetween(const SampleSpan& span, double from, double to,
                                   std::vector<SampleSpan>& result) const {
    const ChunkRow& row = *span.chunk;
    if (row.nanTimeCount == 0 && row.leastTime >= from && row.greatestTime <= to) {
        result.push_back(span);
        return;
    }
    std::vector<double> times(span.count);
    withChunk(row, [&](const ChunkReader& chunk) { chunk.read(0, 0, span.count, times.data()); });
    const auto isInside = [from, to](double time) { return from <= time && time <= to; };
    for (auto first = times.begin(); first != times.end();) {
        first = std::find_if(first, times.end(), isInside);
        const auto end = std::find_if_not(first, times.end(), isInside);
        if (first != end) {
            result.push_back({&row, static_cast<std::size_t>(first - times.begin()),
                              static_cast<std::size_t>(end - first)});
        }
        first = end;
    }
}

Series RecordingRun::seriesOf(const Place& place, const std::vector<SampleSpan>& spans) const {
    if (spans.size() == 1 && canBeMapped(place, *spans.front().chunk)) {
        return mappedSeries(place, spans.front());
    }
    const std::size_t count = sample_count(spans);
    if (count / greatestPackedRatio > data.byteCount() / sizeof(double) / (1 + place.width)) {
        throw RecordingError(location, "the index is damaged: it names more samples than the data "
                                       "file holds");
    }
    // Not initialised: all of it is read.
    const std::shared_ptr<double[]> owner(new double[count * (1 + place.width)]);
    double* times = owner.get();
    double* values = times + count;
    Series series({times, count}, {values, count * place.width}, place.width, owner, false);
    for (const SampleSpan& span : spans) {
        withChunk(*span.chunk, [&](const ChunkReader& chunk) {
            chunk.read(0, span.first, span.count, times);
            chunk.read(place.column, span.first, span.count, values);
        });
        times += span.count;
        values += span.count * place.width;
    }
    return series;
}

bool RecordingRun::canBeMapped(const Place& place, const ChunkRow& row) const {
    bool result = false;
    withChunk(row, [&](const ChunkReader& chunk) {
        result = !chunk.isPacked(0) && !chunk.isPacked(place.column);
    });
    return result;
}

Series RecordingRun::mappedSeries(const Place& place, const SampleSpan& span) const {
    Series series;
    const std::uint64_t end = span.chunk->offset + span.chunk->byteCount;
    if (data.byteCount() < end) {
        throw RecordingError(data.name(), "it ends too early: bytes are missing");
    }
    const std::shared_ptr<const char> mapping = data.map(end);
    withChunk(*span.chunk, [&](const ChunkReader& chunk) {
        const double* const times = chunk.verified(mapping.get(), 0, span.first, span.count);
        const double* const values =
            chunk.verified(mapping.get(), place.column, span.first, span.count);
        series = Series({times, span.count}, {values, span.count * place.width}, place.width,
                        mapping, true);
    });
    return series;
}

const ChunkLayout& RecordingRun::layoutOf(const ChunkRow& chunk) const {
    const auto key = std::make_pair(chunk.group, chunk.storedStepCount);
    const auto found = layouts.find(key);
    if (found != layouts.end()) {
        return found->second;
    }
    if (layouts.size() >= keptLayoutCount) {
        layouts.clear();
    }
    try {
        return layouts[key] =
                   layout_of(widths_of(description.groups[chunk.group]), chunk.storedStepCount);
    } catch (const std::length_error& error) {
        throw RecordingError(location, std::string("the index is damaged: ") + error.what());
    }
}

void RecordingRun::withChunk(const ChunkRow& chunk,
                             const std::function<void(const ChunkReader&)>& action) const {
    const ChunkLayout& layout = layoutOf(chunk);
    // A packed chunk is smaller.
    if (chunk.byteCount > sizeof(RecordHeader) + layout.byteCount) {
        throw RecordingError(location, "the index is damaged: a chunk has another size");
    }
    const ChunkReader reader(data, run, chunk, layout, trusted.count(chunk.sequence) != 0);
    trusted.insert(chunk.sequence);
    action(reader);
}

Overview RecordingRun::overview(const lang::core::ValuePath& path, double from, double to,
                                std::size_t bucketCount) const {
    check_range(from, to, bucketCount);
    const Place place = placeOf(path);
    check_bucket_count(bucketCount, place.width);
    OverviewBuilder builder(from, to, bucketCount, place.width);
    for (const SampleSpan& span : spansOf(place.group)) {
        if (span.chunk->greatestTime >= from && span.chunk->leastTime <= to) {
            withChunk(*span.chunk, [&](const ChunkReader& chunk) {
                builder.add(chunk, layoutOf(*span.chunk), place.column, span.count);
            });
        }
    }
    return builder.result();
}

} // namespace logging2::core::detail
