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

// An answer has at most 200 kB.
constexpr std::size_t greatestTraceStepCount = 12'000;
constexpr std::size_t greatestTracePixelCount = 3'500;

Neighbour neighbour(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                    std::size_t step) {
    const core::Series series = run.series(signal.path, core::StepRange{step, 1});
    return {series.times()[0], series.values()[element]};
}

/// The last step before the time, if there is one.
Neighbour last_before(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                      double time) {
    const core::StepRange steps =
        run.steps(signal.group, -infinity, std::nextafter(time, -infinity));
    return steps.count > 0 ? neighbour(run, signal, element, steps.first + steps.count - 1)
                           : Neighbour();
}

Neighbour first_after(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                      double time) {
    const core::StepRange steps = run.steps(signal.group, std::nextafter(time, infinity), infinity);
    return steps.count > 0 ? neighbour(run, signal, element, steps.first) : Neighbour();
}

void add_steps(Trace& trace, const core::Run& run, const core::SignalInfo& signal,
               std::size_t element, const TraceRange& range, core::StepRange steps) {
    SignalSource source(run, signal, steps);
    while (const Sample* const sample = source.next()) {
        if (range.from <= sample->time && sample->time <= range.to) {
            trace.steps.push_back({sample->time, sample->values[element]});
        }
    }
    trace.stepCount = trace.steps.size();
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
    const std::size_t pixels = std::min(range.pixels, greatestTracePixelCount);
    const double length = rounded_up((range.to - range.from) / static_cast<double>(pixels));
    const double from = std::floor(range.from / length) * length;
    const double to = std::ceil(range.to / length) * length;
    const double count = std::round((to - from) / length);
    const bool isFine = length > 0 && from <= range.from && range.to <= to &&
                        count <= static_cast<double>(pixels) + 2;
    if (!isFine) {
        return {range.from, range.to, pixels};
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
    const core::SignalSummary summary = run.summary(signal.path);
    trace.extent = {summary.leastTime.value_or(trace.extent.time),
                    summary.greatestTime.value_or(trace.extent.value)};
    const core::StepRange steps = run.steps(signal.group, aligned.from, aligned.to);
    if (steps.count < std::min(stepsPerPixel * aligned.pixels, greatestTraceStepCount)) {
        add_steps(trace, run, signal, element, aligned, steps);
    } else {
        add_outline(trace, run, signal, element, aligned);
    }
    trace.before = last_before(run, signal, element, aligned.from);
    trace.after = first_after(run, signal, element, aligned.to);
    return trace;
}

std::string trace_bytes(const Trace& trace) {
    std::string bytes = "L2TRACE1";
    append(bytes, trace.revision);
    append(bytes, static_cast<std::uint32_t>(trace.isAggregate ? 1 : 0));
    append(bytes, static_cast<std::uint32_t>(trace.isAggregate ? trace.outline.size()
                                                               : trace.steps.size()));
    for (const double number : {trace.extent.time, trace.extent.value}) {
        append(bytes, number);
    }
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
