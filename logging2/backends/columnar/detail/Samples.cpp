#include <logging2/backends/columnar/detail/Samples.hpp>

#include <logging2/backends/columnar/detail/piece_size.hpp>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <queue>
#include <stdexcept>
#include <utility>

namespace logging2::core::detail {
namespace {

/// Groups of smaller ids are found by index.
constexpr std::size_t smallIdCount = std::size_t{1} << 16;

/// Beyond the limit, at least this part of it is freed at a time.
constexpr std::size_t limitParts = 64;

/// Discards the first step that is later than the time, and all after it. False if there is none.
bool discard_later(std::vector<RowSpan>& spans, double time) noexcept {
    for (auto span = spans.begin(); span != spans.end(); ++span) {
        const double* const end = span->times() + span->rowCount;
        const double* const later =
            std::find_if(span->times(), end, [time](double each) { return each > time; });
        if (later != end) {
            span->rowCount =
                static_cast<std::uint32_t>(later - span->times()) & RowSpan::greatestRowCount;
            spans.erase(span + (span->rowCount > 0 ? 1 : 0), spans.end());
            return true;
        }
    }
    return false;
}

/// Discards a last step at the time. False if there is none.
bool discard_last_at(std::vector<RowSpan>& spans, double time) noexcept {
    if (spans.empty() || spans.back().times()[spans.back().rowCount - 1] != time) {
        return false;
    }
    spans.back().rowCount = (spans.back().rowCount - 1U) & RowSpan::greatestRowCount;
    if (spans.back().rowCount == 0) {
        spans.pop_back();
    }
    return true;
}

/// The time of the last step; NaN if there is none.
double last_time(const std::vector<RowSpan>& spans) noexcept {
    return spans.empty() ? std::numeric_limits<double>::quiet_NaN()
                         : spans.back().times()[spans.back().rowCount - 1];
}

std::size_t whole_units(std::size_t byteCount) {
    return byteCount / Arena::unit * Arena::unit;
}

} // namespace

Samples::Samples(const StreamingAttributes& attributes, const PathIndex::Setup& setup,
                 const ColumnarOptions& options)
    : paths(std::make_shared<const PathIndex>(setup)),
      limits(options),
      name(attributes.name.data(), attributes.name.size()),
      obeysRegression(attributes.rollbackOnTimeRegression),
      groups(setup.size()) {
    auto group = groups.begin();
    for (const auto& [key, data] : setup) {
        group->id = key.id();
        group->layout = std::make_shared<const RowLayout>(data.coreIds());
        if (group->id >= std::max(smallIdCount, 2 * setup.size())) {
            groupsByLargeId.emplace(group->id, &*group);
        } else {
            groupsByIndex.resize(std::max(groupsByIndex.size(), group->id + 1));
            groupsByIndex[group->id] = &*group;
        }
        ++group;
    }
}

GroupSteps& Samples::groupOfLargeId(std::size_t id) const {
    const auto found = groupsByLargeId.find(id);
    if (found == groupsByLargeId.end()) {
        throw std::out_of_range("there is no group " + std::to_string(id));
    }
    return *found->second;
}

void Samples::refuseLength(const GroupSteps& group, std::size_t n) {
    throw std::invalid_argument("group " + std::to_string(group.id) + " has " +
                                std::to_string(group.layout->rowLength()) +
                                " values per step, but write got " + std::to_string(n));
}

template <class Change>
void Samples::change(GroupSteps& group, Change change) {
    const std::size_t heldByOthers = heldByteCount - group.heldByteCount();
    change();
    heldByteCount = heldByOthers + group.heldByteCount();
}

void Samples::makeRoom(GroupSteps& group) {
    const Piece::Owner piece = group.spare ? group.spare : makePiece(group);
    const Lock lock(mutex);
    change(group, [&] {
        group.open(piece, ++serial);
        group.spare.reset();
    });
}

Piece::Owner Samples::makePiece(const GroupSteps& group) {
    const std::size_t rowByteCount = group.layout->rowByteCount();
    const std::size_t least = Piece::byteCountOf(1, rowByteCount);
    const std::size_t wanted =
        withinLimit(least, std::max(least, piece_byte_count(group.heldByteCount(), groups.size())));
    const std::size_t rowCount = piece_row_count(wanted, rowByteCount);
    Block block = arena->take(least, Piece::byteCountOf(rowCount, rowByteCount));
    const std::size_t held = piece_row_count(block.byteCount, rowByteCount);
    const std::size_t taken = limits.byteLimit == 0 ? held : std::min(rowCount, held);
    Arena::shrink(block, Piece::byteCountOf(taken, rowByteCount));
    return Piece::makeIn(block, taken);
}

/// How many of the wanted bytes a new piece may have.
std::size_t Samples::withinLimit(std::size_t least, std::size_t wanted) {
    if (limits.byteLimit == 0) {
        return wanted;
    }
    // The newest pieces of all groups, which are not discarded, take at most half of the limit.
    const std::size_t greatest = limits.byteLimit / std::max(limitParts, 2 * groups.size());
    least = whole_units(least + Arena::unit - 1);
    wanted = std::max(least, whole_units(std::min(wanted, greatest)));
    if (limits.beyondLimit == BeyondLimit::discardOldest &&
        heldByteCount + wanted > limits.byteLimit && leastByteCount() + least <= limits.byteLimit) {
        discardOldest(wanted);
    }
    if (heldByteCount + least > limits.byteLimit) {
        throw std::length_error("the samples of the stream \"" + name + "\" reach the limit of " +
                                std::to_string(limits.byteLimit) + " bytes");
    }
    return std::min(wanted, whole_units(limits.byteLimit - heldByteCount));
}

/// How many bytes are held when all steps are discarded that may be.
std::size_t Samples::leastByteCount() const noexcept {
    return std::accumulate(
        groups.begin(), groups.end(), std::size_t{0},
        [](std::size_t sum, const GroupSteps& group) { return sum + group.leastByteCount(); });
}

/// Makes room for so many bytes, as far as there are closed spans.
void Samples::discardOldest(std::size_t byteCount) {
    using Oldest = std::pair<std::uint64_t, GroupSteps*>;
    std::priority_queue<Oldest, std::vector<Oldest>, std::greater<>> oldest;
    const auto offer = [&oldest](GroupSteps& group) {
        if (group.hasClosedSpan()) {
            oldest.push({group.oldestSerial(), &group});
        }
    };
    std::for_each(groups.begin(), groups.end(), offer);
    const std::size_t freed = byteCount + limits.byteLimit / limitParts;
    while (!oldest.empty() && heldByteCount + freed > limits.byteLimit) {
        GroupSteps& group = *oldest.top().second;
        oldest.pop();
        const Lock lock(mutex);
        change(group, [&] { discardOldestSpan(group); });
        offer(group);
    }
}

void Samples::discardOldestSpan(GroupSteps& group) {
    const RowSpan& span = group.oldestSpan();
    if (!isFinal) {
        leaveToWatches(group, span);
    }
    revision += span.piece->shownRowCount > span.firstRow ? 1 : 0;
    group.discardOldestSpan();
}

/// Leaves the span to the watches that ask for a part of it. Throws std::bad_alloc and leaves it to
/// none then.
void Samples::leaveToWatches(const GroupSteps& group, const RowSpan& span) {
    const std::size_t position = positionOf(group);
    std::vector<std::shared_ptr<Watch>> keepers; // have room for the span
    for (const std::weak_ptr<Watch>& each : watches) {
        const std::shared_ptr<Watch> watch = each.lock();
        if (watch && watch->interval &&
            !spans_between({span}, watch->interval->from, watch->interval->to).empty()) {
            std::vector<RowSpan>& kept = watch->kept[position];
            if (kept.size() == kept.capacity()) {
                kept.reserve(2 * kept.size() + 1);
            }
            keepers.push_back(watch);
        }
    }
    for (const std::shared_ptr<Watch>& watch : keepers) {
        watch->kept.find(position)->second.push_back(span);
    }
}

void Samples::regress(GroupSteps& group, double time) {
    if (group.undoInOpenSpan(time, true, mutex)) {
        return;
    }
    const GroupSteps::Cut cut = group.cutAtRegression(time);
    {
        const Lock lock(mutex);
        if (group.spare || group.hasRoomAfter(cut)) {
            discard(group, cut);
            trimKept(group, time, true);
            return;
        }
    }
    // Before anything is discarded, because it may throw.
    Piece::Owner piece = makePiece(group);
    const Lock lock(mutex);
    change(group, [&] { group.spare = std::move(piece); });
    discard(group, group.cutAtRegression(time));
    trimKept(group, time, true);
}

/// Also discards the group's undone steps that only watches keep, if no other step is left. The
/// last one that they still keep counts for later regressions.
void Samples::trimKept(GroupSteps& group, double time, bool alsoAtTime) noexcept {
    if (!group.isEmpty() || isFinal) {
        return;
    }
    bool isTrimmed = false;
    double last = std::numeric_limits<double>::quiet_NaN();
    for (const std::weak_ptr<Watch>& each : watches) {
        if (const std::shared_ptr<Watch> watch = each.lock()) {
            const auto kept = watch->kept.find(positionOf(group));
            if (kept != watch->kept.end()) {
                isTrimmed = discard_later(kept->second, time) || isTrimmed;
                isTrimmed = (alsoAtTime && discard_last_at(kept->second, time)) || isTrimmed;
                last = std::fmax(last, last_time(kept->second)); // ignores NaN
            }
        }
    }
    revision += isTrimmed ? 1 : 0;
    group.goOnAfter(last);
}

void Samples::discard(GroupSteps& group, const GroupSteps::Cut& cut) {
    const bool isShown = group.discardsShown(cut);
    change(group, [&] { group.discardFrom(cut); });
    revision += isShown ? 1 : 0;
}

void Samples::rollback(std::size_t groupId, double time) {
    GroupSteps& group = groupOf(groupId);
    if (group.undoInOpenSpan(time, false, mutex)) {
        return;
    }
    const auto cut = group.cutAfter(time);
    if (cut || group.isEmpty()) {
        const Lock lock(mutex);
        if (cut) {
            discard(group, *cut);
            change(group, [&] { group.dropLargeSpare(); });
        }
        trimKept(group, time, false);
    }
}

void Samples::flush() {
    const Lock lock(mutex);
    if (!isFinal) {
        views = showAll();
        isReadable = true;
        isFinal = true;
        end = std::chrono::system_clock::now();
    }
    for (GroupSteps& group : groups) {
        group.clear();
    }
    heldByteCount = 0;
}

} // namespace logging2::core::detail
