#include <tools/view/time_extent.hpp>

#include <tools/compare/Extent.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace logging2::tools::view {
namespace {

constexpr double greatestNumber = std::numeric_limits<double>::max();
constexpr std::uint64_t signBit = std::uint64_t{1} << 63U;

/// Numbers that are ordered as the doubles are.
std::uint64_t rank_of(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return (bits & signBit) != 0 ? ~bits : bits | signBit;
}

double double_of(std::uint64_t rank) {
    const std::uint64_t bits = (rank & signBit) != 0 ? rank & ~signBit : ~rank;
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// The greatest number for which the condition holds. It holds for every smaller one, too. The
/// guess is tried first.
template <class Condition>
double greatest_with(const Condition& holds, double guess) {
    if (std::isfinite(guess) && holds(guess) && !holds(std::nextafter(guess, infinity))) {
        return guess;
    }
    std::uint64_t low = rank_of(-greatestNumber);
    std::uint64_t high = rank_of(greatestNumber);
    while (low < high) {
        const std::uint64_t middle = high - (high - low) / 2;
        if (holds(double_of(middle))) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    return double_of(low);
}

std::optional<TimeExtent> found_extent(const core::Run& run, const core::GroupInfo& group) {
    const auto hasSteps = [&run, &group](double from, double to) {
        return run.steps(group.id, from, to).count > 0;
    };
    if (!hasSteps(-greatestNumber, greatestNumber)) {
        return std::nullopt;
    }
    // Times ascend nearly always.
    const double first = group.firstTime.value_or(0);
    const double last = group.lastTime.value_or(0);
    const auto isFrom = [&hasSteps](double time) { return hasSteps(-greatestNumber, -time); };
    const auto isUpTo = [&hasSteps](double time) { return hasSteps(time, greatestNumber); };
    return TimeExtent{-greatest_with(isFrom, -first), greatest_with(isUpTo, last)};
}

/// Reading more values takes longer than a summary.
constexpr std::size_t greatestReadValueCount = 1'000'000;

/// The extent with those of further steps.
std::optional<TimeExtent> extended(std::optional<TimeExtent> extent, const core::Run& run,
                                   const core::SignalInfo& signal, core::StepRange steps) {
    const core::Series series = run.series(signal.path, steps);
    for (const double time : series.times()) {
        if (std::isfinite(time)) {
            const TimeExtent old = extent.value_or(TimeExtent{time, time});
            extent = TimeExtent{std::min(old.least, time), std::max(old.greatest, time)};
        }
    }
    return extent;
}

} // namespace

std::optional<TimeExtent> time_extent(const core::Run& run, const core::GroupInfo& group,
                                      const core::SignalInfo* signalOfGroup) {
    if (signalOfGroup == nullptr) {
        return found_extent(run, group);
    }
    const core::SignalSummary summary = run.summary(signalOfGroup->path);
    if (!summary.leastTime || !summary.greatestTime) {
        return std::nullopt;
    }
    if (std::isfinite(*summary.leastTime) && std::isfinite(*summary.greatestTime)) {
        return TimeExtent{*summary.leastTime, *summary.greatestTime};
    }
    return found_extent(run, group);
}

std::optional<TimeExtent> TimeExtents::of(const core::Run& run, std::uint64_t revision,
                                          const core::GroupInfo& group,
                                          const core::SignalInfo* signalOfGroup) {
    const auto known = groups.find(group.id);
    const bool hasGrown = known != groups.end() && known->second.revision == revision &&
                          known->second.stepCount <= group.stepCount;
    const std::size_t newCount = hasGrown ? group.stepCount - known->second.stepCount : 0;
    std::optional<TimeExtent> extent;
    if (hasGrown && newCount == 0) {
        return known->second.extent;
    }
    if (hasGrown && signalOfGroup != nullptr &&
        newCount <= greatestReadValueCount / (signalOfGroup->width + 1)) {
        extent = extended(known->second.extent, run, *signalOfGroup,
                          {known->second.stepCount, newCount});
    } else {
        extent = time_extent(run, group, signalOfGroup);
    }
    groups.insert_or_assign(group.id, Known{revision, group.stepCount, extent});
    return extent;
}

std::map<std::size_t, const core::SignalInfo*>
narrowest_signals(const std::vector<core::SignalInfo>& signals) {
    std::map<std::size_t, const core::SignalInfo*> result;
    for (const core::SignalInfo& signal : signals) {
        const core::SignalInfo*& narrowest = result[signal.group];
        if (narrowest == nullptr || signal.width < narrowest->width) {
            narrowest = &signal;
        }
    }
    return result;
}

} // namespace logging2::tools::view
