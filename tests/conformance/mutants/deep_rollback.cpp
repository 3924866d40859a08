#include <tests/conformance/mutants/Mutant.hpp>

#include <logging2/logging2.hpp>

#include <algorithm>

// Back-ends whose rollback has a limit, or is wrong only for many samples.

namespace logging2::core::conformance {
namespace {

MemoryStreamWriter& memory(StreamWriter& target) {
    return dynamic_cast<MemoryStreamWriter&>(target);
}

/// The number of samples that a rollback to the time discards.
std::size_t later_count(StreamWriter& target, std::size_t group, double time) {
    const Doubles& times = memory(target).times(group);
    return static_cast<std::size_t>(times.end() -
                                    std::upper_bound(times.begin(), times.end(), time));
}

/// Makes rollback discard the changed number of samples.
template <class Change>
void change_count(Faults& faults, Change change) {
    faults.rollback = [change](StreamWriter& target, std::size_t group, double time) {
        memory(target).rollback(group, change(later_count(target, group, time)));
    };
}

constexpr std::size_t many = 1000;

const Mutant table[] = {
    {"rollsBackAtMost5000Samples", "rollbackDiscardsAnyNumberOfSamples", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return std::min<std::size_t>(count, 5000); });
     }},
    {"rollsBackAtMost100000Samples", "rollbackDiscardsAnyNumberOfSamples", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults,
                      [](std::size_t count) { return std::min<std::size_t>(count, 100000); });
     }},
    {"discardsOneSampleTooManyInLargeRollbacks", "rollbackOfManySamplesIsExact", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return count + (count > many ? 1 : 0); });
     }},
    {"discardsOneSampleTooFewInLargeRollbacks", "rollbackOfManySamplesIsExact", Base::memory,
     [](Faults& faults, Subject&) {
         change_count(faults, [](std::size_t count) { return count - (count > many ? 1 : 0); });
     }},
    {"searchesUnorderedTimesOnlyAmongTheNewest", "rollbackOfManyUnorderedSamplesIsExact",
     Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             const auto isLater = [time](double held) { return held > time; };
             const Doubles& times = memory(target).times(group);
             const auto searched = static_cast<std::ptrdiff_t>(std::min(times.size(), many));
             const auto first =
                 std::min(std::find_if(times.end() - searched, times.end(), isLater),
                          std::find_if_not(times.rbegin(), times.rend(), isLater).base());
             memory(target).rollback(group, static_cast<std::size_t>(times.end() - first));
         };
     }},
    {"keepsManySamplesFlushedIntermediately", "rollbackOfManySamplesIsExactAfterFlushIntermediate",
     Base::memory,
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
    {"replacesAtMost100000Samples", "earlierTimeReplacesAnyNumberOfSamples", Base::memory,
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
