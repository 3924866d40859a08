#include <logging2/backends/columnar/detail/ColumnarRun.hpp>

#include <logging2/backends/columnar/detail/scan_column.hpp>
#include <logging2/runs/detail/check_buckets.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <tuple>

namespace logging2::core::detail {

using lang::core::ValuePath;

ColumnarRun::ColumnarRun(const std::shared_ptr<Samples>& writtenSamples,
                         std::optional<Interval> interval)
    : samples(writtenSamples),
      paths(writtenSamples->pathIndex()),
      watch(writtenSamples->watch(interval)),
      content(writtenSamples->present(*watch)) {}

const GroupView& ColumnarRun::groupOf(const PathIndex::Entry& entry) const {
    return *content.groups[entry.group];
}

const ColumnPlace& ColumnarRun::columnOf(const PathIndex::Entry& entry) const {
    return groupOf(entry).layout().columns()[entry.channel];
}

RunInfo ColumnarRun::info() const {
    return content.info;
}

std::vector<GroupInfo> ColumnarRun::groups() const {
    std::vector<GroupInfo> result;
    for (const auto& [group, data] : paths->setup()) {
        const GroupView& view = *content.groups[result.size()];
        result.push_back({group.id(), view.stepCount(), {}, {}});
        if (view.stepCount() > 0) {
            result.back().firstTime = view.spans().front().times()[0];
            result.back().lastTime = view.spans().back().times()[view.spans().back().rowCount - 1];
        }
    }
    return result;
}

std::vector<SignalInfo> ColumnarRun::signals() const {
    std::vector<PathIndex::Entry> entries = paths->entries();
    std::sort(entries.begin(), entries.end(), [](const auto& left, const auto& right) {
        return std::tie(left.group, left.channel, *left.path) <
               std::tie(right.group, right.channel, *right.path);
    });
    std::vector<SignalInfo> result;
    result.reserve(entries.size());
    for (const PathIndex::Entry& entry : entries) {
        const auto& [group, data] = *(paths->setup().begin() + entry.group);
        const LoggedChannel& channel = data.coreIds()[entry.channel];
        result.push_back({*entry.path, group.id(), channel.id(), channel.width});
    }
    return result;
}

Series ColumnarRun::series(const ValuePath& path) const {
    const PathIndex::Entry& entry = paths->find(path);
    return series_of(groupOf(entry).spans(), columnOf(entry));
}

Series ColumnarRun::series(const ValuePath& path, double from, double to) const {
    const PathIndex::Entry& entry = paths->find(path);
    std::vector<RowSpan> spans;
    for (const FoundSpan& found : spans_between(groupOf(entry).spans(), from, to)) {
        spans.push_back(found.span);
    }
    return series_of(spans, columnOf(entry));
}

Series ColumnarRun::series(const ValuePath& path, StepRange steps) const {
    const PathIndex::Entry& entry = paths->find(path);
    const std::size_t stepCount = groupOf(entry).stepCount();
    if (steps.first > stepCount || steps.count > stepCount - steps.first) {
        throw std::out_of_range('"' + path.text() + "\" has only " + std::to_string(stepCount) +
                                " steps");
    }
    return series_of(groupOf(entry).spansOf(steps.first, steps.count), columnOf(entry));
}

std::vector<Series> ColumnarRun::pieces(const ValuePath& path) const {
    const PathIndex::Entry& entry = paths->find(path);
    std::vector<Series> result;
    for (const RowSpan& span : groupOf(entry).spans()) {
        result.push_back(series_of({span}, columnOf(entry)));
    }
    return result;
}

StepRange ColumnarRun::steps(std::size_t group, double from, double to) const {
    std::size_t position = 0;
    for (const auto& [key, data] : paths->setup()) {
        if (key.id() == group) {
            const auto found = spans_between(content.groups[position]->spans(), from, to);
            return found.empty() ? StepRange()
                                 : StepRange{found.front().firstStep,
                                             found.back().firstStep + found.back().span.rowCount -
                                                 found.front().firstStep};
        }
        ++position;
    }
    throw std::out_of_range("there is no group " + std::to_string(group));
}

SignalSummary ColumnarRun::summary(const ValuePath& path) const {
    const PathIndex::Entry& entry = paths->find(path);
    return summary_of(groupOf(entry), columnOf(entry));
}

Overview ColumnarRun::overview(const ValuePath& path, double from, double to,
                               std::size_t bucketCount) const {
    const PathIndex::Entry& entry = paths->find(path);
    check_buckets(from, to, bucketCount, columnOf(entry).width);
    return overview_of(groupOf(entry), columnOf(entry), from, to, bucketCount);
}

Outline ColumnarRun::outline(const ValuePath& path, std::size_t element, double from, double to,
                             std::size_t bucketCount) const {
    const PathIndex::Entry& entry = paths->find(path);
    check_buckets(from, to, bucketCount, 1);
    if (element >= columnOf(entry).width) {
        throw std::out_of_range('"' + path.text() + "\" has no element " + std::to_string(element));
    }
    return outline_of(groupOf(entry), columnOf(entry), element, from, to, bucketCount);
}

bool ColumnarRun::refresh() {
    RunContent present = content;
    if (const std::shared_ptr<Samples> written = samples.lock()) {
        present = written->present(*watch);
    } else {
        const std::lock_guard<std::mutex> lock(watch->mutex);
        if (watch->last) {
            present = *watch->last;
        }
    }
    std::swap(content, present);
    return content.info.state != present.info.state ||
           content.info.revision != present.info.revision ||
           !std::equal(content.groups.begin(), content.groups.end(), present.groups.begin(),
                       [](const auto& now, const auto& before) {
                           return now == before || are_same_rows(*now, *before);
                       });
}

} // namespace logging2::core::detail
