#include <logging2/backends/columnar/detail/GroupView.hpp>

#include <algorithm>
#include <utility>

namespace logging2::core::detail {
namespace {

/// Calls add(first, count) for each run of steps of the span whose times are in [from, to].
template <class Add>
void find_runs(const RowSpan& span, double from, double to, Add add) {
    const double* const times = span.times();
    const double* const end = times + span.rowCount;
    const auto isInside = [from, to](double time) { return from <= time && time <= to; };
    const double* first = times;
    while (first != end) {
        first = span.ascends != 0 ? std::lower_bound(first, end, from)
                                  : std::find_if(first, end, isInside);
        const double* const last = span.ascends != 0 ? std::upper_bound(first, end, to)
                                                     : std::find_if_not(first, end, isInside);
        if (first != last) {
            add(static_cast<std::size_t>(first - times), static_cast<std::size_t>(last - first));
        }
        first = span.ascends != 0 ? end : last;
    }
}

} // namespace

GroupView::GroupView(std::shared_ptr<const RowLayout> rowLayout, std::vector<RowSpan> rowSpans)
    : shape(std::move(rowLayout)),
      parts(std::move(rowSpans)) {
    parts.erase(std::remove_if(parts.begin(), parts.end(),
                               [](const RowSpan& span) { return span.rowCount == 0; }),
                parts.end());
    for (const RowSpan& span : parts) {
        steps += span.rowCount;
    }
}

std::vector<RowSpan> GroupView::spansOf(std::size_t first, std::size_t count) const {
    std::vector<RowSpan> result;
    for (const RowSpan& span : parts) {
        if (first < span.rowCount && count > 0) {
            const std::size_t taken = std::min(count, span.rowCount - first);
            result.push_back(span.part(first, taken));
            count -= taken;
            first = 0;
        } else {
            first -= std::min<std::size_t>(first, span.rowCount);
        }
    }
    return result;
}

std::shared_ptr<const GroupView> GroupView::part(std::size_t first, std::size_t count) const {
    return std::make_shared<const GroupView>(shape, spansOf(first, count));
}

bool are_same_rows(const GroupView& left, const GroupView& right) noexcept {
    return std::equal(left.spans().begin(), left.spans().end(), right.spans().begin(),
                      right.spans().end(), [](const RowSpan& one, const RowSpan& other) {
                          return one.piece == other.piece && one.firstRow == other.firstRow &&
                                 one.rowCount == other.rowCount;
                      });
}

void append_times(const std::vector<RowSpan>& spans, std::vector<double>& times) {
    for (const RowSpan& span : spans) {
        times.insert(times.end(), span.times(), span.times() + span.rowCount);
    }
}

void append_values(const std::vector<RowSpan>& spans, const ColumnPlace& column,
                   std::vector<double>& values) {
    for (const RowSpan& span : spans) {
        const double* const first = span.values(column);
        values.insert(values.end(), first, first + span.rowCount * column.width);
    }
}

std::vector<FoundSpan> spans_between(const std::vector<RowSpan>& spans, double from, double to) {
    std::vector<FoundSpan> result;
    if (!(from <= to)) {
        return result;
    }
    std::size_t firstStep = 0;
    for (const RowSpan& span : spans) {
        find_runs(span, from, to, [&](std::size_t first, std::size_t count) {
            result.push_back({span.part(first, count), firstStep + first});
        });
        firstStep += span.rowCount;
    }
    return result;
}

} // namespace logging2::core::detail
