#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <stdexcept>
#include <string>
#include <thread>

// ColumnarOptions::byteLimit.

namespace logging2::core::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

ColumnarOptions limited(std::size_t byteLimit, BeyondLimit beyondLimit) {
    ColumnarOptions options;
    options.byteLimit = byteLimit;
    options.beyondLimit = beyondLimit;
    return options;
}

/// Writes steps 0, 1, ... until one is refused; returns how many were stored.
std::size_t writeUntilRefused(StreamWriter& writer) {
    for (std::size_t step = 0; step < 1000000; ++step) {
        try {
            writeTimes(writer, {static_cast<double>(step)});
        } catch (const std::length_error&) {
            return step;
        }
    }
    return 0;
}

TEST(ColumnarLimitTest, writeThrowsBeyondTheLimit) {
    StreamingAttributes attributes;
    attributes.name = BasicTableString<char>("ball");
    ColumnarStreamWriter writer(attributes, scalarSetup(),
                                limited(64 * kibibyte, BeyondLimit::refuse));
    const std::size_t stepCount = writeUntilRefused(writer);
    EXPECT_GT(stepCount, 64 * kibibyte / 16 * 9 / 10);
    EXPECT_LE(stepCount, 64 * kibibyte / 16);
    EXPECT_THAT([&] { writeTimes(writer, {1e9}); },
                ThrowsMessage<std::length_error>(
                    "the samples of the stream \"ball\" reach the limit of 65536 bytes"));
    EXPECT_EQ(storedTimes(writer), countedTimes(stepCount));
}

TEST(ColumnarLimitTest, rollbackMakesRoom) {
    ColumnarStreamWriter writer({}, scalarSetup(), limited(16 * kibibyte, BeyondLimit::refuse));
    const std::size_t stepCount = writeUntilRefused(writer);
    for (int i = 0; i < 3; ++i) {
        writer.rollback(0, 0.0);
        writer.rollback(0, -1.0);
        EXPECT_EQ(writeUntilRefused(writer), stepCount);
    }
}

TEST(ColumnarLimitTest, refusedRegressionDiscardsNothing) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    // There is room for one row of 500 doubles.
    ColumnarStreamWriter writer(attributes, wideSetup(500),
                                limited(5 * kibibyte, BeyondLimit::refuse));
    writeTimes(writer, {1.0}, 500);
    const auto run = writer.run(); // keeps the row
    EXPECT_THROW(writeTimes(writer, {0.5}, 500), std::length_error);
    EXPECT_THAT(storedTimes(writer), ElementsAre(1.0));
}

TEST(ColumnarLimitTest, regressionBehindShownStepsTakesANewPiece) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    ColumnarStreamWriter writer(attributes, wideSetup(500));
    writeTimes(writer, {1.0}, 500);
    const auto run = writer.run();
    writeTimes(writer, {0.5}, 500);
    EXPECT_THAT(storedTimes(writer), ElementsAre(0.5));
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
}

TEST(ColumnarLimitTest, oldestStepsAreDiscarded) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(64 * kibibyte, BeyondLimit::discardOldest));
    writeTimes(writer, countedTimes(50000));
    const Doubles times = storedTimes(writer);
    EXPECT_GT(times.size(), 64 * kibibyte / 16 * 9 / 10);
    EXPECT_LE(times.size(), 64 * kibibyte / 16);
    const Doubles all = countedTimes(50000);
    EXPECT_TRUE(std::equal(times.rbegin(), times.rend(), all.rbegin()));
}

TEST(ColumnarLimitTest, oldestStepsOfAllGroupsAreDiscarded) {
    const LoggedPathsSetupData first(paths({{"x", 0}}), channels({{0, 1}}));
    const LoggedPathsSetupData second(paths({{"y", 0}}), channels({{0, 1}}));
    ColumnarStreamWriter writer({}, GroupSetup{{Group(0), first}, {Group(1), second}},
                                limited(64 * kibibyte, BeyondLimit::discardOldest));
    write(writer, 1, 0.0, {1.0}); // the newest piece of its group
    for (const double time : countedTimes(20000)) {
        write(writer, 0, time, {time});
    }
    for (const double time : countedTimes(20000)) {
        write(writer, 1, time + 20000.0, {time});
    }
    writer.flush();
    const Doubles shorter = stored(writer, "x").first;
    const Doubles longer = stored(writer, "y").first;
    EXPECT_THAT(longer, Each(Ge(20000.0)));
    EXPECT_EQ(longer.back(), 39999.0);
    EXPECT_FALSE(shorter.empty());
    EXPECT_EQ(shorter.back(), 19999.0);
    EXPECT_GT(longer.size(), 2 * shorter.size());
}

TEST(ColumnarLimitTest, manyGroupsShareASmallLimit) {
    constexpr std::size_t groupCount = 100;
    GroupSetup setup;
    for (std::size_t group = 0; group < groupCount; ++group) {
        const ValuePath path("g" + std::to_string(group));
        setup.insert(Group(group),
                     LoggedPathsSetupData({{path, CoreDataId(0)}}, channels({{0, 1}})));
    }
    for (const BeyondLimit beyond : {BeyondLimit::refuse, BeyondLimit::discardOldest}) {
        ColumnarStreamWriter writer({}, setup, limited(64 * kibibyte, beyond));
        for (const double time : countedTimes(beyond == BeyondLimit::refuse ? 20 : 2000)) {
            for (std::size_t group = 0; group < groupCount; ++group) {
                ASSERT_NO_THROW(write(writer, group, time, {time}));
            }
        }
    }
}

TEST(ColumnarLimitTest, storesLackWhatWasDiscardedSince) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    writeTimes(writer, countedTimes(1000));
    writer.flushIntermediate();
    for (const double time : countedTimes(500)) {
        writeTimes(writer, {time + 1000.0});
    }
    const Doubles times = stored(writer).first;
    EXPECT_GT(times.front(), 400.0);
    EXPECT_EQ(times.back(), 999.0);
    for (const double time : countedTimes(5000)) {
        writeTimes(writer, {time + 1500.0});
    }
    EXPECT_THAT(stored(writer).first, IsEmpty());
}

TEST(ColumnarLimitTest, rollbackObeysItsRuleAmongTheStepsThatAreLeft) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    writeTimes(writer, {1e6}); // soon discarded
    writeTimes(writer, countedTimes(5000));
    writer.rollback(0, 4990.0);
    writer.rollback(0, 4995.0); // discards nothing, though an old time was later
    EXPECT_EQ(storedTimes(writer).back(), 4990.0);
}

/// The processor time of 100 rollbacks of one step, after the step at this time was discarded.
std::clock_t rollbackDurationAfter(double firstTime) {
    constexpr std::size_t stepCount = 1500000;
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * mebibyte, BeyondLimit::discardOldest));
    const double value = 1.0;
    writer.write(0, firstTime, &value, 1);
    for (std::size_t step = 0; step < stepCount; ++step) {
        writer.write(0, static_cast<double>(step), &value, 1);
    }
    const std::clock_t start = std::clock();
    for (int i = 0; i < 100; ++i) {
        writer.write(0, stepCount, &value, 1);
        writer.rollback(0, stepCount - 1.0);
    }
    return std::clock() - start;
}

TEST(ColumnarLimitTest, rollbackIsCheapAfterALateStepWasDiscarded) {
    // Examining all steps would take several hundred times as long.
    EXPECT_LT(rollbackDurationAfter(1e12), 30 * rollbackDurationAfter(-1.0) + CLOCKS_PER_SEC / 100);
}

TEST(ColumnarLimitTest, refusedWriteDiscardsNothing) {
    const LoggedPathsSetupData narrow(paths({{"x", 0}}), channels({{0, 1}}));
    const LoggedPathsSetupData wide(paths({{"y", 0}}), channels({{0, 10000}}));
    ColumnarStreamWriter writer({}, GroupSetup{{Group(0), narrow}, {Group(1), wide}},
                                limited(64 * kibibyte, BeyondLimit::discardOldest));
    writeTimes(writer, countedTimes(3000));
    EXPECT_THROW(write(writer, 1, 0.0, Doubles(10000, 1.0)), std::length_error);
    EXPECT_EQ(storedTimes(writer), countedTimes(3000));
}

TEST(ColumnarLimitTest, snapshotLosesTheStepsThatAreUndone) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    const auto snapshot = writer.snapshot(100.0, 200.0);
    writeTimes(writer, countedTimes(5000));
    snapshot->refresh();
    ASSERT_EQ(timesOf(*snapshot).back(), 200.0);
    writer.rollback(0, 150.0);
    snapshot->refresh();
    ASSERT_EQ(timesOf(*snapshot).back(), 150.0);
    writer.rollback(0, 140.0);
    const std::uint64_t revision = snapshot->info().revision;
    EXPECT_TRUE(snapshot->refresh());
    EXPECT_GT(snapshot->info().revision, revision);
    EXPECT_EQ(timesOf(*snapshot).front(), 100.0);
    EXPECT_EQ(timesOf(*snapshot).back(), 140.0);
    EXPECT_EQ(timesOf(*snapshot).size(), 41U);
}

/// A writer that obeys regressions, with 5,000 steps of which a snapshot keeps 100 to 200.
struct RegressingSubject {
    RegressingSubject() { writeTimes(*writer, countedTimes(5000)); }

    std::unique_ptr<ColumnarStreamWriter> writer = std::make_unique<ColumnarStreamWriter>(
        regressing(), scalarSetup(), limited(16 * kibibyte, BeyondLimit::discardOldest));
    std::unique_ptr<core::Run> snapshot = writer->snapshot(100.0, 200.0);
};

TEST(ColumnarLimitTest, regressionRemovesKeptStepsFromItsTimeOn) {
    const RegressingSubject subject;
    for (int time = 200; time >= 100; --time) {
        writeTimes(*subject.writer, {static_cast<double>(time)});
        EXPECT_TRUE(subject.snapshot->refresh());
        const Doubles times = timesOf(*subject.snapshot);
        ASSERT_EQ(times.size(), static_cast<std::size_t>(time - 99));
        EXPECT_EQ(times.front(), 100.0);
        EXPECT_EQ(times.back(), time);
    }
    writeTimes(*subject.writer, {-1.0});
    EXPECT_TRUE(subject.snapshot->refresh());
    EXPECT_THAT(timesOf(*subject.snapshot), IsEmpty());
}

TEST(ColumnarLimitTest, regressionAfterARollbackOfAllStepsRemovesKeptSteps) {
    const RegressingSubject subject;
    subject.writer->rollback(0, 150.0);
    writeTimes(*subject.writer, {140.0});
    subject.snapshot->refresh();
    const Doubles times = timesOf(*subject.snapshot);
    ASSERT_EQ(times.size(), 41U);
    EXPECT_EQ(times.front(), 100.0);
    EXPECT_EQ(times.back(), 140.0);
}

TEST(ColumnarLimitTest, regressionBehindTheKeptStepsLeavesThem) {
    const RegressingSubject subject;
    writeTimes(*subject.writer, {300.0});
    subject.snapshot->refresh();
    EXPECT_EQ(timesOf(*subject.snapshot).size(), 101U);
}

TEST(ColumnarLimitTest, snapshotShowsNoStepAfterTheFlush) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    const auto snapshot = writer.snapshot(0.0, 1e9);
    writeTimes(writer, {1.0, 2.0, 3.0});
    writer.flush();
    snapshot->refresh();
    for (const double time : countedTimes(5000)) {
        writeTimes(writer, {time + 4.0});
    }
    EXPECT_FALSE(snapshot->refresh());
    EXPECT_THAT(timesOf(*snapshot), ElementsAre(1.0, 2.0, 3.0));
}

TEST(ColumnarLimitTest, anotherThreadReadsSnapshotsWhileStepsAreDiscarded) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    std::atomic<bool> isDone{false};
    std::thread reading([&] {
        const auto kept = writer.snapshot(0.0, 1e9);
        while (!isDone) {
            const auto snapshot = writer.snapshot(1000.0, 1e9);
            for (core::Run* const run : {kept.get(), snapshot.get()}) {
                run->refresh();
                const Doubles times = timesOf(*run);
                ASSERT_TRUE(std::is_sorted(times.begin(), times.end()));
            }
        }
    });
    for (std::size_t step = 0; step < 20000; ++step) {
        writeTimes(writer, {static_cast<double>(step)});
        if (step % 3000 == 2999) {
            writer.rollback(0, static_cast<double>(step - 1500));
        }
        if (step % 100 == 99) {
            std::this_thread::yield();
        }
    }
    writer.flush();
    isDone = true;
    reading.join();
}

TEST(ColumnarLimitTest, rowThatExceedsTheLimitIsRefused) {
    for (const BeyondLimit beyond : {BeyondLimit::refuse, BeyondLimit::discardOldest}) {
        ColumnarStreamWriter writer({}, wideSetup(500), limited(kibibyte, beyond));
        EXPECT_THAT([&] { writeTimes(writer, {1.0}, 500); },
                    ThrowsMessage<std::length_error>(HasSubstr("the limit of 1024 bytes")));
    }
}

TEST(ColumnarLimitTest, readersKeepWhatIsDiscarded) {
    ColumnarStreamWriter writer({}, scalarSetup(),
                                limited(16 * kibibyte, BeyondLimit::discardOldest));
    writeTimes(writer, countedTimes(500));
    const auto run = writer.run();
    for (const double time : countedTimes(5000)) {
        writeTimes(writer, {time + 500.0});
    }
    EXPECT_EQ(timesOf(*run), countedTimes(500));
    EXPECT_TRUE(run->refresh());
    EXPECT_GT(run->info().revision, 0U);
    EXPECT_GT(timesOf(*run).front(), 500.0);
}

} // namespace
} // namespace logging2::core::test
