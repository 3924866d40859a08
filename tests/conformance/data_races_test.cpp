#include <logging2/conformance/detail/Promise.hpp>
#include <tests/conformance/mutants/Faults.hpp>

#include <logging2/memory/MemoryDatastore.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>

// Under ThreadSanitizer the suite finds data races, including those that never change a result.
// This is built only with ThreadSanitizer.

namespace logging2::core::conformance {
namespace {

// The promises are checked here without ConformanceTest.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConformanceTest);

constexpr int statusOfThreadSanitizer = 66;

/// A back-end whose writers or readers share the counter without synchronisation, and the promise
/// that finds it.
struct Race {
    const char* fault;
    const char* brokenPromise;
    void (*plant)(Faults& faults, const std::shared_ptr<int>& counter);

    friend std::ostream& operator<<(std::ostream& stream, const Race& race) {
        return stream << race.fault;
    }
};

const Race table[] = {
    {"countsWritersMade", "severalThreadsMayMakeWritersAtOnce",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.making = [counter](StreamingAttributes&, GroupSetup&) { ++*counter; };
     }},
    {"countsSamplesWritten", "writersOfSeveralThreadsAreIndependent",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.write = [counter](StreamWriter& target, auto... arguments) {
             ++*counter;
             return target.write(arguments...);
         };
     }},
    {"countsRollbacks", "writersOfSeveralThreadsAreIndependent",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.rollback = [counter](StreamWriter& target, std::size_t group, double time) {
             ++*counter;
             target.rollback(group, time);
         };
     }},
    {"countsIntermediateFlushes", "writersOfSeveralThreadsAreIndependent",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.flushIntermediate = [counter](StreamWriter&) { ++*counter; };
     }},
    {"countsFlushes", "writersOfSeveralThreadsAreIndependent",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.flush = [counter](StreamWriter& target) {
             ++*counter;
             target.flush();
         };
     }},
    {"countsStoresGiven", "writersOfSeveralThreadsAreIndependent",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.dataStore = [counter](const StreamWriter& target, const ValuePath& path) {
             ++*counter;
             return target.dataStore(path);
         };
     }},
    {"countsReadersMade", "severalThreadsMayMakeReadersAtOnce",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.opening = [counter](const boost::any& store) {
             ++*counter;
             return store;
         };
     }},
    {"marksStoresAsRead", "severalThreadsMayCopyAndReadAStore",
     [](Faults& faults, const std::shared_ptr<int>&) {
         faults.opening = [](const boost::any& store) {
             std::vector<double>& times = *boost::any_cast<const MemoryDatastore&>(store).times;
             times.front() = -times.front();
             times.front() = -times.front();
             return store;
         };
     }},
    {"countsClones", "severalThreadsMayUseOneReader",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.clone = [counter](const StreamReader& target) {
             ++*counter;
             return target.clone();
         };
     }},
    {"countsReadingsOfTimes", "severalThreadsMayUseOneReader",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.times = [counter](const StreamReader& target) {
             ++*counter;
             return target.times();
         };
     }},
    {"countsReadings", "severalThreadsMayUseOneReader",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.timeseries = [counter](Series series) {
             ++*counter;
             return series;
         };
     }},
    {"readsWhatIsBeingWritten", "readingMayOverlapWriting",
     [](Faults& faults, const std::shared_ptr<int>& counter) {
         faults.write = [counter](StreamWriter& target, auto... arguments) {
             ++*counter;
             return target.write(arguments...);
         };
         faults.timeseries = [counter](Series series) {
             return *counter > 0 ? std::move(series) : Series();
         };
     }},
};

class DataRacesTest : public testing::TestWithParam<Race> {};

[[noreturn]] void check_and_exit(const Race& race) {
    Faults faults;
    race.plant(faults, std::make_shared<int>(0));
    {
        Session session(faulty(Base::memory, declared_by(Base::memory), faults));
        promise_named(race.brokenPromise).check(session);
    }
    std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
}

TEST_P(DataRacesTest, plantedDataRaceIsReported) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(check_and_exit(GetParam()), testing::ExitedWithCode(statusOfThreadSanitizer),
                "ThreadSanitizer: data race");
}

INSTANTIATE_TEST_SUITE_P(Planted, DataRacesTest, testing::ValuesIn(table),
                         [](const auto& tested) { return tested.param.fault; });

} // namespace
} // namespace logging2::core::conformance
