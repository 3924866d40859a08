#include <logging2/backends/columnar/detail/scan_column.hpp>

#include <logging2/columns/storage.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace logging2::core::detail {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Widens the range of an element; `Target` has least, greatest and nanCount by element.
template <class Target>
void widen(Target& target, std::size_t index, double value) {
    if (std::isnan(value)) {
        ++target.nanCount[index];
        return;
    }
    target.least[index] = std::min(target.least[index], value);
    target.greatest[index] = std::max(target.greatest[index], value);
}

template <class Target>
void make_ranges(Target& target, std::size_t count) {
    target.least.assign(count, infinity);
    target.greatest.assign(count, -infinity);
    target.nanCount.assign(count, 0);
}

void widen_times(const RowSpan& span, double& least, double& greatest) {
    for (const double* time = span.times(); time != span.times() + span.rowCount; ++time) {
        least = *time < least ? *time : least;
        greatest = *time > greatest ? *time : greatest;
    }
}

/// Copies of times and values.
struct Copies {
    std::vector<double> times;
    std::vector<double> values;
};

} // namespace

Series series_of(const std::vector<RowSpan>& spans, const ColumnPlace& column) {
    if (spans.size() == 1) {
        const RowSpan& span = spans.front();
        return {DoubleView(span.times(), span.rowCount),
                DoubleView(span.values(column), span.rowCount * column.width), column.width,
                std::make_shared<const Piece::Owner>(span.piece), true};
    }
    const auto copies = std::make_shared<Copies>();
    std::size_t stepCount = 0;
    for (const RowSpan& span : spans) {
        stepCount += span.rowCount;
    }
    reserve_large(copies->times, stepCount);
    reserve_large(copies->values, stepCount * column.width);
    append_times(spans, copies->times);
    append_values(spans, column, copies->values);
    return {DoubleView(copies->times.data(), copies->times.size()),
            DoubleView(copies->values.data(), copies->values.size()), column.width, copies, false};
}

SignalSummary summary_of(const GroupView& group, const ColumnPlace& column) {
    SignalSummary summary;
    make_ranges(summary, column.width);
    double least = infinity;
    double greatest = -infinity;
    for (const RowSpan& span : group.spans()) {
        widen_times(span, least, greatest);
        const double* const values = span.values(column);
        for (std::size_t i = 0; i < span.rowCount * column.width; ++i) {
            widen(summary, i % column.width, values[i]);
        }
    }
    if (least <= greatest) {
        summary.leastTime = least;
        summary.greatestTime = greatest;
    }
    summary.sampleCount = group.stepCount();
    summary.byteCount = group.stepCount() * column.width * sizeof(double);
    return summary;
}

Overview overview_of(const GroupView& group, const ColumnPlace& column, double from, double to,
                     std::size_t bucketCount) {
    Overview overview;
    overview.width = column.width;
    overview.sampleCount.assign(bucketCount, 0);
    make_ranges(overview, bucketCount * column.width);
    for (const FoundSpan& found : spans_between(group.spans(), from, to)) {
        const double* value = found.span.values(column);
        for (std::size_t row = 0; row < found.span.rowCount; ++row) {
            const std::size_t bucket = bucket_of(found.span.times()[row], from, to, bucketCount);
            ++overview.sampleCount[bucket];
            for (std::size_t element = 0; element < column.width; ++element) {
                widen(overview, bucket * column.width + element, *value++);
            }
        }
    }
    return overview;
}

Outline outline_of(const GroupView& group, const ColumnPlace& column, std::size_t element,
                   double from, double to, std::size_t bucketCount) {
    Outline outline(bucketCount);
    for (const FoundSpan& found : spans_between(group.spans(), from, to)) {
        const double* const times = found.span.times();
        const double* const values = found.span.values(column);
        for (std::size_t row = 0; row < found.span.rowCount; ++row) {
            add_sample(outline[bucket_of(times[row], from, to, bucketCount)], times[row],
                       values[row * column.width + element]);
        }
    }
    return outline;
}

} // namespace logging2::core::detail
