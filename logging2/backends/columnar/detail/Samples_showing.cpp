#include <logging2/backends/columnar/detail/Samples.hpp>

#include <logging2/ids/identifiers.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

// What readers see of the samples. These operations may be called on any thread.

namespace logging2::core::detail {
namespace {

using View = std::shared_ptr<const GroupView>;

/// The steps from the first to the last one in the interval, of the kept spans and the view.
View part_of(const GroupView& view, const std::vector<RowSpan>& kept,
             const std::shared_ptr<const RowLayout>& layout, const Interval& interval) {
    std::vector<RowSpan> spans = kept;
    spans.insert(spans.end(), view.spans().begin(), view.spans().end());
    const std::vector<FoundSpan> found = spans_between(spans, interval.from, interval.to);
    const GroupView whole(layout, std::move(spans));
    if (found.empty()) {
        return whole.part(0, 0);
    }
    const std::size_t first = found.front().firstStep;
    return whole.part(first, found.back().firstStep + found.back().span.rowCount - first);
}

std::string new_id() {
    const std::u16string text = get_unique_id().text();
    return {text.begin(), text.end()};
}

} // namespace

Samples::~Samples() {
    const Lock lock(mutex);
    for (const std::weak_ptr<Watch>& each : watches) {
        if (const std::shared_ptr<Watch> watch = each.lock()) {
            try {
                leaveContent(*watch);
            } catch (const std::bad_alloc&) {
                // The run goes on to show what it showed last.
            }
        }
    }
}

bool Samples::isFlushed() const {
    const Lock lock(mutex);
    return isFinal;
}

void Samples::flushIntermediate() {
    const Lock lock(mutex);
    isReadable = true;
    std::for_each(groups.begin(), groups.end(), [](GroupSteps& group) { group.mark(); });
}

ColumnarDatastore Samples::dataStore(const lang::core::ValuePath& path) {
    const PathIndex::Entry& entry = paths->find(path);
    const Lock lock(mutex);
    if (!isReadable) {
        throw std::out_of_range("there is no data of the signal \"" + path.text() +
                                "\": flush was not called");
    }
    return {isFinal ? views[entry.group] : groups[entry.group].showMarked(), entry.channel};
}

std::vector<View> Samples::showAll() {
    std::vector<View> result;
    result.reserve(groups.size());
    for (GroupSteps& group : groups) {
        result.push_back(group.show());
    }
    return result;
}

std::shared_ptr<Watch> Samples::watch(std::optional<Interval> interval) {
    auto result = std::make_shared<Watch>();
    result->interval = interval;
    const Lock lock(mutex);
    if (runId.empty()) {
        runId = new_id();
    }
    const auto isGone = [](const std::weak_ptr<Watch>& each) { return each.expired(); };
    watches.erase(std::remove_if(watches.begin(), watches.end(), isGone), watches.end());
    watches.push_back(result);
    return result;
}

RunContent Samples::present(const Watch& watch) {
    const Lock lock(mutex);
    return contentFor(watch);
}

RunContent Samples::contentFor(const Watch& watch) {
    RunContent content;
    content.info.id = runId;
    content.info.name = name;
    content.info.state = isFinal ? RunState::finished : RunState::running;
    content.info.start = start;
    content.info.end = end;
    content.info.revision = revision;
    content.groups = isFinal ? views : showAll();
    if (!watch.interval) {
        return content;
    }
    for (std::size_t group = 0; group < groups.size(); ++group) {
        const auto kept = watch.kept.find(group);
        View& view = content.groups[group];
        view = part_of(*view, kept == watch.kept.end() ? std::vector<RowSpan>() : kept->second,
                       groups[group].layout, *watch.interval);
    }
    return content;
}

void Samples::leaveContent(Watch& watch) {
    auto content = std::make_shared<RunContent>(contentFor(watch));
    if (!isFinal) {
        content->info.state = RunState::interrupted;
    }
    const Lock lock(watch.mutex);
    watch.last = std::move(content);
}

} // namespace logging2::core::detail
