#include <tests/conformance/mutants/Mutant.hpp>

#include <logging2/logging2.hpp>

#include <algorithm>

// Back-ends whose rollback has a limit, or is wrong only if it discards many samples.

namespace logging2::core::conformance {
namespace {

MemoryStreamWriter& memory(StreamWriter& target) {
    return dynamic_cast<MemoryStreamWriter&>(target);
}

/// How many samples a rollback to the time discards.
std::size_t later_count(StreamWriter& target, std::size_t group, double time) {
    const Doubles& times = memory(target).times(group);
    return static_cast<std::size_t>(times.end() -
                                    std::upper_bound(times.begin(), times.end(), time));
}

/// Rollback discards what the function makes of the right count.
template <class Change>
void change_count(Faults& faults, Change change) {
    faults.rollback = [change](StreamWriter& target, std::size_t group, double time) {
        memory(target).rollback(group, change(later_count(target, group, time)));
    };
}

constexpr std::size_t many = 1000;

const Mutant table[] = {
    {"keepsTheNewest5000SamplesUndoable", "rollbackReachesAnyNumberOfSamplesBack", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return std::min<std::size_t>(count, 5000); });
     }},
    {"keepsTheNewest100000SamplesUndoable", "rollbackReachesAnyNumberOfSamplesBack", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults,
                      [](std::size_t count) { return std::min<std::size_t>(count, 100000); });
     }},
    {"discardsOneSampleTooManyOfMany", "rollbackOfManySamplesIsExact", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return count + (count > many ? 1 : 0); });
     }},
    {"discardsOneSampleTooFewOfMany", "rollbackOfManySamplesIsExact", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return count - (count > many ? 1 : 0); });
     }},
    {"discardsNoneOfTheManyThatWereFlushedIntermediately",
     "rollbackOfManySamplesReachesOverFlushIntermediate", Base::memory,
     [](Faults& faults, Subject&) {
         const auto flushed = std::make_shared<std::size_t>(0);
         faults.flushIntermediate = [flushed](StreamWriter& target) {
             *flushed = memory(target).numSteps(0);
         };
         faults.rollback = [flushed](StreamWriter& target, std::size_t group, double time) {
             const std::size_t held = memory(target).numSteps(group);
             const std::size_t kept = *flushed > many ? *flushed : 0;
             memory(target).rollback(group,
                                     std::min(later_count(target, group, time), held - kept));
         };
     }},
    {"replacesTheNewest100000SamplesAtMost", "aBackwardTimeReplacesAnyNumberOfSamples",
     Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             attributes.rollbackOnTimeRegression = false;
         };
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           auto... arguments) {
             const Doubles& times = memory(target).times(group);
             const auto first = std::lower_bound(times.begin(), times.end(), time);
             const auto count = static_cast<std::size_t>(times.end() - first);
             memory(target).rollback(group, std::min<std::size_t>(count, 100000));
             return target.write(group, time, arguments...);
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_deep_rollback() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
