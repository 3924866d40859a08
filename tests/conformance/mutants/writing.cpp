#include <tests/conformance/mutants/Mutant.hpp>

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

// Back-ends that lose or change what is written.

namespace logging2::core::conformance {
namespace {

/// Changes every group of the setup.
template <class Change>
void change_groups(GroupSetup& setup, Change change) {
    GroupSetup changed;
    for (const auto& [group, data] : setup) {
        std::vector<LoggedPath> paths = data.paths();
        std::vector<LoggedChannel> channels = data.coreIds();
        change(paths, channels);
        changed.insert(group, LoggedPathsSetupData(paths, channels));
    }
    setup = changed;
}

using Paths = std::vector<LoggedPath>;
using Channels = std::vector<LoggedChannel>;

bool shown_by(const Paths& paths, const LoggedChannel& channel) {
    return std::any_of(paths.begin(), paths.end(),
                       [&](const LoggedPath& logged) { return logged.id == channel.id; });
}

bool is_ascii(const ValuePath& path) {
    std::ostringstream text;
    text << path;
    const std::string characters = text.str();
    return std::all_of(characters.begin(), characters.end(), [](char c) { return c >= 0; });
}

const Mutant table[] = {
    {"returnsFalseFromWrite", "writeReturnsTrue", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, auto... arguments) {
             return !target.write(arguments...);
         };
     }},
    {"dropsTheLastSample", "samplesAreReadInOrder", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [](Series series) {
             series.first.pop_back();
             series.second.pop_back();
             return series;
         };
     }},
    {"rollsBackOnEveryEarlierTime", "timesMayRepeatAndGoBack", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes& attributes, GroupSetup&) {
             attributes.rollbackOnTimeRegression = true;
         };
     }},
    {"swapsColumns", "valuesAreSampleMajor", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           const double* values, std::size_t n) {
             const Doubles row(std::make_reverse_iterator(values + n),
                               std::make_reverse_iterator(values));
             return target.write(group, time, row.data(), n);
         };
     }},
    {"sortsChannelsByNumber", "setupDefinesTheChannelOrder", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes&, GroupSetup& setup) {
             change_groups(setup, [](Paths&, Channels& channels) {
                 std::sort(channels.begin(), channels.end(),
                           [](const auto& a, const auto& b) { return a.id() < b.id(); });
             });
         };
     }},
    {"forgetsChannelsWithoutPaths", "channelWithoutPathsKeepsItsPlaceInTheRow", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes&, GroupSetup& setup) {
             change_groups(setup, [](const Paths& paths, Channels& channels) {
                 channels.erase(std::remove_if(channels.begin(), channels.end(),
                                               [&](const auto& c) { return !shown_by(paths, c); }),
                                channels.end());
             });
         };
     }},
    {"dropsTheTimesOfEmptyColumns", "channelOfWidthZeroHasOnlyTimes", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [](Series series) {
             return series.second.empty() ? Series() : series;
         };
     }},
    {"showsOnlyOnePathPerChannel", "pathsOfOneChannelShowTheSameData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes&, GroupSetup& setup) {
             change_groups(setup, [](Paths& paths, const Channels& channels) {
                 paths.erase(paths.begin() + static_cast<std::ptrdiff_t>(channels.size()),
                             paths.end());
             });
         };
     }},
    {"givesTimesOnlyToTheFirstPath", "pathsOfAGroupHaveTheSameTimes", Base::memory,
     [](Faults& faults, Subject&) {
         faults.dataStore = [given = 0](const StreamWriter& target,
                                        const ValuePath& path) mutable -> boost::any {
             auto store = boost::any_cast<MemoryDatastore>(target.dataStore(path));
             store.times = ++given == 1 ? store.times : std::make_shared<Doubles>();
             return store;
         };
     }},
    {"writesAllGroupsIntoOne", "groupsAreIndependent", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t, auto... arguments) {
             return target.write(0, arguments...);
         };
     }},
    {"numbersGroupsByPosition", "groupsMayBeListedInAnyOrder", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes&, GroupSetup& setup) {
             GroupSetup renumbered;
             for (const auto& entry : setup) {
                 renumbered.insert(Group(renumbered.size()), entry.second);
             }
             setup = renumbered;
         };
     }},
    {"makesNoStoresForEmptyGroups", "groupWithoutSamplesHasNoData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.dataStore = [](const StreamWriter& target, const ValuePath& path) {
             const boost::any store = target.dataStore(path);
             return boost::any_cast<MemoryDatastore>(store).times->empty() ? boost::any(0) : store;
         };
     }},
    {"refusesASetupWithoutGroups", "setupMayHaveNoGroups", Base::memory,
     [](Faults& faults, Subject&) {
         faults.making = [](StreamingAttributes&, const GroupSetup& setup) {
             if (setup.empty()) {
                 throw std::invalid_argument("no groups");
             }
         };
     }},
    {"addsZeroToValues", "everyBitOfAValueIsKept", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [](Series series) {
             for (double& value : series.second) {
                 value += 0.0;
             }
             return series;
         };
     }},
    {"treatsEqualValuesAsIdentical", "everyBitOfAValueIsKept", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [](Series series) {
             for (std::size_t i = 1; i < series.second.size(); ++i) {
                 double& value = series.second[i];
                 value = value == series.second[i - 1] ? series.second[i - 1] : value;
             }
             return series;
         };
     }},
    {"addsZeroToTimes", "everyBitOfATimeIsKept", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t group, double time,
                           auto... arguments) {
             return target.write(group, time + 0.0, arguments...);
         };
     }},
    {"readsTheCallersValuesLater", "writeCopiesTheValues", Base::memory,
     [](Faults& faults, Subject&) {
         const auto pending = std::make_shared<std::vector<std::pair<double, const double*>>>();
         faults.write = [pending](StreamWriter&, std::size_t, double time, const double* values,
                                  std::size_t) {
             pending->emplace_back(time, values);
             return true;
         };
         faults.flush = [pending](StreamWriter& target) {
             for (const auto& [time, values] : *pending) {
                 target.write(0, time, values, 1);
             }
             target.flush();
         };
     }},
    {"readsTheCallersAttributesLater", "constructorCopiesSetupAndAttributes", Base::memory,
     [](Faults& faults, Subject&) {
         const auto callers = std::make_shared<const StreamingAttributes*>();
         faults.asked = [callers](const StreamingAttributes& attributes) {
             *callers = &attributes;
         };
         faults.write = [callers](StreamWriter& target, std::size_t group, double time,
                                  auto... arguments) {
             if ((*callers)->rollbackOnTimeRegression) {
                 target.rollback(group, time);
             }
             return target.write(group, time, arguments...);
         };
     }},
    {"supportsOnlyAsciiPaths", "namesAndPathsMayBeAnyText", Base::memory,
     [](Faults& faults, Subject&) {
         faults.dataStore = [](const StreamWriter& target, const ValuePath& path) {
             return is_ascii(path) ? target.dataStore(path) : boost::any();
         };
     }},
    {"storesTheGroupInAByte", "manyGroupsAreIndependent", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [](StreamWriter& target, std::size_t group, auto... arguments) {
             return target.write(group % 256, arguments...);
         };
     }},
    {"countsRowsInSixteenBits", "manyRowsAreKept", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [](Series series) {
             series.first.resize(series.first.size() % 65536);
             return series;
         };
     }},
    {"dropsSamplesBeyondItsBuffer", "manyChannelsAreKept", Base::memory,
     [](Faults& faults, Subject&) {
         faults.write = [room = std::size_t{64 << 20} / sizeof(double)](
                            StreamWriter& target, std::size_t group, double time,
                            const double* values, std::size_t n) mutable {
             const bool fits = n + 1 <= room;
             room -= fits ? n + 1 : 0;
             return !fits || target.write(group, time, values, n);
         };
     }},
    {"forgetsTheSampleAfterTheThirdRollback", "randomRunsMatchTheModel", Base::memory,
     [](Faults& faults, Subject&) {
         const auto rollbacks = std::make_shared<int>(0);
         faults.made = [rollbacks](StreamWriter&) { *rollbacks = 0; };
         faults.rollback = [rollbacks](StreamWriter& target, std::size_t group, double time) {
             ++*rollbacks;
             target.rollback(group, time);
         };
         faults.write = [rollbacks](StreamWriter& target, auto... arguments) {
             if (*rollbacks == 3) {
                 ++*rollbacks;
                 return true;
             }
             return target.write(arguments...);
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_writing() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
