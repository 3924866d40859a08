#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace logging2::core::test {

/// What the host of a growing recording does. Write i, from 1 on, appends the value i; the time of
/// a step is its number. Before some writes the newest steps are undone: mostly so few that no
/// reader has seen them, rarely thousands.
constexpr std::size_t shallowPeriod = 1009;
constexpr std::size_t deepPeriod = 300007;

/// How many steps are undone before the write.
constexpr std::size_t undone_before(std::size_t write) {
    if (write % deepPeriod == 0) {
        return 5000;
    }
    return write % shallowPeriod == 0 ? 1 + write / shallowPeriod % 12 : 0;
}

/// The steps after a number of writes, as runs of values that follow each other.
class LiveModel {
public:
    std::size_t writeCount() const { return writes; }
    std::size_t stepCount() const { return steps; }

    /// Goes on to the state after this write. Returns the least number of steps on the way.
    std::size_t advance(std::size_t toWrite) {
        std::size_t least = steps;
        while (writes < toWrite) {
            const std::size_t first = writes + 1;
            undo(undone_before(first));
            least = std::min(least, steps);
            const std::size_t end = std::min(
                {toWrite + 1, nextMultiple(first, shallowPeriod), nextMultiple(first, deepPeriod)});
            runs.push_back({steps, first});
            steps += end - first;
            writes = end - 1;
        }
        return least;
    }

    /// Compares the values of the steps from the first one on.
    bool hasValues(std::size_t firstStep, const double* values, std::size_t count) const {
        auto run = std::upper_bound(
            runs.begin(), runs.end(), firstStep,
            [](std::size_t step, const ValueRun& candidate) { return step < candidate.firstStep; });
        for (std::size_t step = firstStep; step < firstStep + count; ++step) {
            while (run != runs.end() && run->firstStep <= step) {
                ++run;
            }
            const ValueRun& holder = *std::prev(run);
            if (values[step - firstStep] !=
                static_cast<double>(holder.firstValue + step - holder.firstStep)) {
                return false;
            }
        }
        return true;
    }

private:
    struct ValueRun {
        std::size_t firstStep;
        std::size_t firstValue;
    };

    static std::size_t nextMultiple(std::size_t above, std::size_t period) {
        return (above / period + 1) * period;
    }

    void undo(std::size_t count) {
        steps -= std::min(count, steps);
        while (!runs.empty() && runs.back().firstStep >= steps) {
            runs.pop_back();
        }
    }

    std::vector<ValueRun> runs;
    std::size_t writes = 0;
    std::size_t steps = 0;
};

} // namespace logging2::core::test
