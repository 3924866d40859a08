#include <tools/view/trace.hpp>

#include <tools/compare/Extent.hpp>
#include <tools/reading/SignalSource.hpp>
#include <tools/view/signals.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace logging2::tools::view {
namespace {

/// Steps are sent themselves if there are fewer than so many per pixel.
constexpr std::size_t stepsPerPixel = 4;

/// A neighbour is looked for among so many steps, because some may have no time.
constexpr std::size_t greatestNeighbourCount = 16;

/// Where the steps within the range are. If there are none, it is the place between those before
/// and those behind the range.
core::StepRange place_of(const core::Run& run, std::size_t group, const TraceRange& range) {
    const core::StepRange inside = run.steps(group, range.from, range.to);
    if (inside.count > 0) {
        return inside;
    }
    const core::StepRange after = run.steps(group, std::nextafter(range.to, infinity), infinity);
    const core::StepRange all = run.steps(group, -infinity, infinity);
    return {after.count > 0 ? after.first : all.first + all.count, 0};
}

/// The last one of these steps that has a time, or the first one.
Neighbour nearest(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                  core::StepRange steps, bool isLast) {
    const core::Series series = run.series(signal.path, steps);
    for (std::size_t k = 0; k < steps.count; ++k) {
        const std::size_t step = isLast ? steps.count - 1 - k : k;
        if (!std::isnan(series.times()[step])) {
            return {series.times()[step], series.values()[step * signal.width + element]};
        }
    }
    return {};
}

/// The steps that were logged just before those of the trace and just after them. Times that go
/// back are not connected by an aggregate.
void add_neighbours(Trace& trace, const core::Run& run, const core::SignalInfo& signal,
                    std::size_t element, const TraceRange& range, core::StepRange steps) {
    const core::StepRange all = run.steps(signal.group, -infinity, infinity);
    const std::size_t end = steps.first + steps.count;
    const std::size_t before = std::min(steps.first, greatestNeighbourCount);
    const std::size_t after = std::min(all.first + all.count - end, greatestNeighbourCount);
    trace.before = nearest(run, signal, element, {steps.first - before, before}, true);
    trace.after = nearest(run, signal, element, {end, after}, false);
    if (trace.isAggregate && !(trace.before.time < range.from)) {
        trace.before = {};
    }
    if (trace.isAggregate && !(trace.after.time > range.to)) {
        trace.after = {};
    }
}

void add_steps(Trace& trace, const core::Run& run, const core::SignalInfo& signal,
               std::size_t element, const TraceRange& range, core::StepRange steps) {
    SignalSource source(run, signal, steps);
    while (const Sample* const sample = source.next()) {
        if (!std::isnan(sample->time)) {
            trace.steps.push_back({sample->time, sample->values[element]});
        }
        trace.stepCount += range.from <= sample->time && sample->time <= range.to ? 1 : 0;
    }
}

void add_outline(Trace& trace, const core::Run& run, const core::SignalInfo& signal,
                 std::size_t element, const TraceRange& range) {
    trace.isAggregate = true;
    for (const core::OutlineBucket& bucket :
         run.outline(signal.path, element, range.from, range.to, range.pixels)) {
        trace.stepCount += bucket.sampleCount;
        if (bucket.sampleCount > 0) {
            trace.outline.push_back(bucket);
        }
    }
}

/// At least the length, with seven binary digits.
double rounded_up(double length) {
    constexpr double digits = 128;
    int exponent = 0;
    const double mantissa = std::frexp(length, &exponent);
    return std::ldexp(std::ceil(mantissa * digits) / digits, exponent);
}

void append(std::string& bytes, const void* value, std::size_t byteCount) {
    bytes.append(static_cast<const char*>(value), byteCount);
}

template <class Number>
void append(std::string& bytes, Number value) {
    append(bytes, &value, sizeof value);
}

template <class Items, class Member>
void append_column(std::string& bytes, const Items& items, Member member) {
    for (const auto& item : items) {
        append(bytes, static_cast<double>(member(item)));
    }
}

unsigned flags_of(const core::OutlineBucket& bucket) {
    return (bucket.hasNan ? 1U : 0U) | (bucket.hasPositiveInfinity ? 2U : 0U) |
           (bucket.hasNegativeInfinity ? 4U : 0U);
}

/// NaN if the bucket has no finite number.
double finite_or_nan(double value) {
    return std::isfinite(value) ? value : std::numeric_limits<double>::quiet_NaN();
}

void append_buckets(std::string& bytes, const core::Outline& outline) {
    using Bucket = core::OutlineBucket;
    append_column(bytes, outline, [](const Bucket& bucket) { return bucket.firstTime; });
    append_column(bytes, outline, [](const Bucket& bucket) { return bucket.lastTime; });
    append_column(bytes, outline, [](const Bucket& bucket) { return bucket.first; });
    append_column(bytes, outline, [](const Bucket& bucket) { return finite_or_nan(bucket.least); });
    append_column(bytes, outline,
                  [](const Bucket& bucket) { return finite_or_nan(bucket.greatest); });
    append_column(bytes, outline, [](const Bucket& bucket) { return bucket.last; });
    append_column(bytes, outline, [](const Bucket& bucket) { return flags_of(bucket); });
}

} // namespace

TraceRange aligned_range(const TraceRange& range) {
    const double length = rounded_up((range.to - range.from) / static_cast<double>(range.pixels));
    const double from = std::floor(range.from / length) * length;
    const double to = std::ceil(range.to / length) * length;
    const double count = std::round((to - from) / length);
    const bool isFine = length > 0 && from <= range.from && range.to <= to &&
                        count <= static_cast<double>(range.pixels) + 2;
    if (!isFine) {
        return range;
    }
    return {from, to, std::max<std::size_t>(1, static_cast<std::size_t>(count))};
}

Trace trace_of(const core::Run& run, const std::string& path, std::size_t element,
               const TraceRange& range) {
    const core::SignalInfo signal = signal_of(run, path);
    check_element(signal, element);
    const TraceRange aligned = aligned_range(range);
    Trace trace;
    trace.revision = run.info().revision;
    const core::StepRange steps = place_of(run, signal.group, aligned);
    if (steps.count < stepsPerPixel * aligned.pixels) {
        add_steps(trace, run, signal, element, aligned, steps);
    } else {
        add_outline(trace, run, signal, element, aligned);
    }
    add_neighbours(trace, run, signal, element, aligned, steps);
    return trace;
}

std::string trace_bytes(const Trace& trace) {
    std::string bytes = "L2TRACE1";
    append(bytes, trace.revision);
    append(bytes, static_cast<std::uint32_t>(trace.isAggregate ? 1 : 0));
    append(bytes, static_cast<std::uint32_t>(trace.isAggregate ? trace.outline.size()
                                                               : trace.steps.size()));
    append(bytes, static_cast<std::uint64_t>(trace.stepCount));
    for (const double number :
         {trace.before.time, trace.before.value, trace.after.time, trace.after.value}) {
        append(bytes, number);
    }
    if (trace.isAggregate) {
        append_buckets(bytes, trace.outline);
    } else {
        append_column(bytes, trace.steps, [](const Neighbour& step) { return step.time; });
        append_column(bytes, trace.steps, [](const Neighbour& step) { return step.value; });
    }
    return bytes;
}

} // namespace logging2::tools::view
