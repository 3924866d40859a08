#include <tests/conformance/mutants/Mutant.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

// Back-ends that discard too much, too little or nothing, or apply another point limit.

namespace logging2::core::conformance {
namespace {

MemoryStreamWriter& memory(StreamWriter& target) {
    return dynamic_cast<MemoryStreamWriter&>(target);
}

void decline_rollback(const StreamingAttributes& streaming) {
    const std::string name(streaming.name.data(), streaming.name.size());
    foundation::issueWarning({"vantrel:common:logging2:core:common",
                              "RollbackNotSupported",
                              {foundation::utf8_string_to_ustring(name)}});
}

void drop_oldest(MemoryStreamWriter& writer, std::size_t group, std::size_t limit) {
    while (writer.times(group).size() > limit) {
        writer.times(group).erase(writer.times(group).begin());
        writer.data(group).pop_front();
    }
}

bool is_earlier(double held, double time) {
    return held < time;
}

bool is_equal(double held, double time) {
    return held == time;
}

bool is_nan(double held, double /*time*/) {
    return std::isnan(held);
}

/// Makes rollback keep everything up to the last time that the predicate selects. After that, it
/// follows the rule.
void keep_up_to_last(Faults& faults, bool (*isSelected)(double held, double time)) {
    faults.rollback = [isSelected](StreamWriter& target, std::size_t group, double time) {
        const Doubles& times = memory(target).times(group);
        const auto afterLast =
            std::find_if(times.rbegin(), times.rend(), [isSelected, time](double held) {
                return isSelected(held, time);
            }).base();
        const auto firstLater =
            std::find_if(afterLast, times.end(), [time](double held) { return held > time; });
        memory(target).rollback(group, static_cast<std::size_t>(times.end() - firstLater));
    };
}

const Mutant table[] = {
    {"ignoresRollback", "rollbackDiscardsLaterSamples", Base::memory,
     [](Faults& faults, Subject&) { faults.rollback = [](StreamWriter&, std::size_t, double) {}; }},
    {"discardsEqualTimes", "rollbackKeepsSamplesAtEqualTime", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             target.rollback(group, std::nextafter(time, -std::numeric_limits<double>::max()));
         };
     }},
    {"keepsTimesWithinATolerance", "rollbackDistinguishesNeighbouringTimes", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             target.rollback(group, time + 1e-12);
         };
     }},
    {"alwaysDiscardsTheLastSample", "rollbackToTheLastTimeOrLaterChangesNothing", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             memory(target).rollback(group, std::size_t{1});
             target.rollback(group, time);
         };
     }},
    {"keepsTheFirstSample", "rollbackBeforeTheFirstTimeEmptiesTheGroup", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             target.rollback(group, std::max(time, memory(target).times(group).front()));
         };
     }},
    {"keepsEverythingUpToTheLastEarlierTime", "rollbackDiscardsEarlierTimesAfterTheFirstLaterTime",
     Base::memory, [](Faults& faults, Subject&) { keep_up_to_last(faults, is_earlier); }},
    {"keepsEverythingUpToTheLastEqualTime", "rollbackDiscardsEqualTimesAfterTheFirstLaterTime",
     Base::memory, [](Faults& faults, Subject&) { keep_up_to_last(faults, is_equal); }},
    {"treatsNanAsLater", "rollbackTreatsNanAsNotLater", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             const Doubles& times = memory(target).times(group);
             const auto first = std::find_if(times.begin(), times.end(),
                                             [time](double held) { return !(held <= time); });
             memory(target).rollback(group, static_cast<std::size_t>(times.end() - first));
         };
     }},
    {"keepsEverythingUpToTheLastNan", "rollbackDiscardsNanAfterTheFirstLaterTime", Base::memory,
     [](Faults& faults, Subject&) { keep_up_to_last(faults, is_nan); }},
    {"rollsBackAllGroups", "rollbackOfOneGroupKeepsTheOthers", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t, double time) {
             target.rollback(0, time);
             target.rollback(1, time);
         };
     }},
    {"refusesToRollBackAnEmptyGroup", "rollbackOfAnEmptyGroupChangesNothing", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double) {
             if (memory(target).numSteps(group) == 0) {
                 throw std::out_of_range("no samples");
             }
         };
     }},
    {"ignoresSamplesAfterARollback", "samplesMayFollowARollback", Base::memory,
     [](Faults& faults, Subject&) {
         const auto done = std::make_shared<bool>(false);
         faults.rollback = [done](StreamWriter& target, std::size_t group, double time) {
             *done = true;
             target.rollback(group, time);
         };
         faults.write = [done](StreamWriter& target, auto... arguments) {
             return *done || target.write(arguments...);
         };
     }},
    {"keepsSamplesFlushedIntermediately", "rollbackDiscardsSamplesBeforeFlushIntermediate",
     Base::memory,
     [](Faults& faults, Subject&) {
         const auto final = std::make_shared<double>(-std::numeric_limits<double>::infinity());
         faults.flushIntermediate = [final](StreamWriter& target) {
             *final = memory(target).times(0).back();
         };
         faults.rollback = [final](StreamWriter& target, std::size_t group, double time) {
             target.rollback(group, std::max(time, *final));
         };
     }},
    {"warnsAlthoughItRollsBack", "rollbackIssuesNoWarning", Base::memory,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             decline_rollback(attributes());
             target.rollback(group, time);
         };
     }},
    {"warnsTwice", "declinedRollbackIssuesOneWarning", Base::native,
     [](Faults& faults, Subject&) {
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             decline_rollback(attributes());
             target.rollback(group, time);
         };
     }},
    {"warnsAndRollsBack", "declinedRollbackKeepsTheSamples", Base::memory,
     [](Faults& faults, Subject& declared) {
         declared.info.supportsRollback = false;
         faults.rollback = [](StreamWriter& target, std::size_t group, double time) {
             decline_rollback(attributes());
             target.rollback(group, time);
         };
     }},
    {"keepsRepeatedTimes", "repeatedTimeReplacesTheSample", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             attributes.rollbackOnTimeRegression = false;
         };
     }},
    {"treatsCloseTimesAsRepeated", "neighbouringLaterTimeReplacesNothing", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           auto... arguments) {
             target.rollback(group, time - 1e-12);
             return target.write(group, time, arguments...);
         };
     }},
    {"replacesOnlyTheLastSample", "earlierTimeReplacesAllSamplesFromThere", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             attributes.rollbackOnTimeRegression = false;
         };
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           auto... arguments) {
             const auto& times = memory(target).times(group);
             memory(target).rollback(group, std::size_t{!times.empty() && times.back() >= time});
             return target.write(group, time, arguments...);
         };
     }},
    {"rollsBackAllGroupsOnRegression", "earlierTimeOfOneGroupKeepsTheOthers", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           auto... arguments) {
             target.rollback(1 - group, time);
             return target.write(group, time, arguments...);
         };
     }},
    {"obeysTheRegressionFlagWithoutDeclaringIt", "unsupportedRegressionFlagReplacesNothing",
     Base::memory,
     [](Faults&, Subject& declared) { declared.supports.rollbackOnTimeRegression = false; }},
    {"ignoresThePointLimit", "lastSamplesOfEachGroupAreKept", Base::memory,
     [](Faults&, Subject& declared) { declared.supports.pointLimit = true; }},
    {"keepsOneSampleFewerThanTheLimit", "limitThatIsJustReachedDropsNothing",
     Base::memoryRestricted,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             --attributes.pointLimit;
         };
     }},
    {"treatsZeroAsNoLimit", "limitOfZeroKeepsNothing", Base::memoryRestricted,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             attributes.pointLimit = attributes.pointLimit == 0 ? 1000 : attributes.pointLimit;
         };
     }},
    {"appliesTheLimitOnlyAtTheEnd", "rollbackDoesNotRestoreSamplesBeyondTheLimit", Base::memory,
     [](Faults& faults, Subject& declared) {
         declared.supports.pointLimit = true;
         const auto limit = std::make_shared<std::size_t>();
         faults.asked = [limit](const StreamingAttributes& attributes) {
             *limit = attributes.pointLimit;
         };
         faults.flush = [limit](StreamWriter& target) {
             drop_oldest(memory(target), 0, *limit);
             target.flush();
         };
     }},
    {"obeysTheLimitWithoutDeclaringIt", "unsupportedPointLimitDropsNothing", Base::memoryRestricted,
     [](Faults&, Subject& declared) { declared.supports.pointLimit = false; }},
};

} // namespace

std::vector<Mutant> mutants_of_rollback() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
