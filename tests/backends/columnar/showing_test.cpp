#include <tests/backends/columnar/columnar_writers.hpp>

#include <atomic>
#include <thread>

// Samples that are read while the run goes on.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ColumnarShowingTest, storeShowsTheSamplesOfItsFlushIntermediate) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 2.0});
    writer.flushIntermediate();
    const ColumnarStreamReader early(writer.dataStore(ValuePath("x")));
    writeTimes(writer, {3.0});
    EXPECT_THAT(stored(writer).first, ElementsAre(1.0, 2.0));
    writer.flushIntermediate();
    EXPECT_THAT(stored(writer).first, ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(early.times(), ElementsAre(1.0, 2.0));
}

TEST(ColumnarShowingTest, flushIntermediateCopiesNothing) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, countedTimes(50));
    const auto run = writer.run();
    const double* const first = run->series(ValuePath("x")).values().data();
    writeTimes(writer, {50.0, 51.0});
    run->refresh();
    EXPECT_EQ(run->series(ValuePath("x")).values().data(), first);
    writer.flush();
    run->refresh();
    EXPECT_EQ(run->series(ValuePath("x")).values().data(), first);
}

TEST(ColumnarShowingTest, rollbackDoesNotChangeWhatWasShown) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    writer.flushIntermediate();
    const ColumnarStreamReader early(writer.dataStore(ValuePath("x")));
    writer.rollback(0, 2.0);
    write(writer, 0, 2.5, {25.0});
    writer.flushIntermediate();
    writer.rollback(0, 1.0);
    write(writer, 0, 1.5, {15.0});
    EXPECT_THAT(storedTimes(writer), ElementsAre(1.0, 1.5));
    EXPECT_EQ(early.timeseries(),
              std::pair(Doubles({1.0, 2.0, 3.0, 4.0}), Doubles({10.0, 20.0, 30.0, 40.0})));
}

TEST(ColumnarShowingTest, refreshReturnsFalseIfNothingChanged) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 2.0, 3.0});
    const auto snapshot = writer.snapshot(1.0, 2.0);
    const auto run = writer.run();
    EXPECT_FALSE(snapshot->refresh());
    EXPECT_FALSE(run->refresh());
    writeTimes(writer, {4.0});
    writer.rollback(0, 3.0); // of a step that no reader saw
    EXPECT_FALSE(run->refresh());
    writeTimes(writer, {5.0});
    EXPECT_TRUE(run->refresh());
    EXPECT_FALSE(snapshot->refresh());
}

TEST(ColumnarShowingTest, repeatedRollbackBehindShownSamplesUsesLittleMemory) {
    ColumnarOptions options;
    options.byteLimit = std::size_t{64} * 1024;
    ColumnarStreamWriter writer({}, scalarSetup(), options);
    writeTimes(writer, {0.0});
    for (int i = 0; i < 500; ++i) {
        writeTimes(writer, {1.0, 2.0});
        writer.flushIntermediate();
        writer.rollback(0, 0.0);
    }
    EXPECT_THAT(storedTimes(writer), ElementsAre(0.0));
}

TEST(ColumnarShowingTest, anotherThreadReadsWhileWritingGoesOn) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    ColumnarStreamWriter writer(attributes, mixedWidthSetup());
    std::atomic<bool> isDone{false};
    std::thread reading([&] {
        const auto run = writer.run();
        while (!isDone) {
            writer.flushIntermediate();
            const auto [times, values] = stored(writer, "b");
            run->refresh();
            const Series series = run->series(ValuePath("b"));
            ASSERT_EQ(values.size(), 2 * times.size());
            for (std::size_t s = 0; s < times.size(); ++s) {
                ASSERT_EQ(values[2 * s], times[s]);
                ASSERT_EQ(values[2 * s + 1], -times[s]);
            }
            for (std::size_t s = 0; s < series.size(); ++s) {
                ASSERT_EQ(series.values()[2 * s], series.times()[s]);
            }
        }
    });
    double time = 0.0;
    for (int step = 0; step < 30000; ++step) {
        // Every tenth step repeats a time, and every hundredth goes back further.
        time += step % 100 == 99 ? -20.0 : step % 10 == 9 ? 0.0 : 1.0;
        write(writer, 0, time, {0.0, time, -time});
        if (step % 7 == 6) {
            writer.rollback(0, time - 2.0);
            time -= 2.0;
        }
    }
    writer.flush();
    isDone = true;
    reading.join();
    EXPECT_FALSE(stored(writer, "b").first.empty());
}

TEST(ColumnarShowingTest, severalThreadsUseWritersOfTheirOwn) {
    const auto logARun = [] {
        ColumnarStreamWriter writer({}, scalarSetup());
        writeTimes(writer, countedTimes(20000));
        EXPECT_EQ(storedTimes(writer), countedTimes(20000));
    };
    std::thread other(logARun);
    logARun();
    other.join();
}

TEST(ColumnarShowingTest, anotherThreadReleasesStores) {
    ColumnarStreamWriter writer({}, scalarSetup());
    std::thread other;
    for (int i = 0; i < 50; ++i) {
        writeTimes(writer, countedTimes(300));
        writer.flushIntermediate();
        auto reader = std::make_unique<ColumnarStreamReader>(writer.dataStore(ValuePath("x")));
        writer.rollback(0, -1.0);
        if (other.joinable()) {
            other.join();
        }
        other = std::thread([owned = std::move(reader)]() mutable { owned.reset(); });
    }
    other.join();
    EXPECT_THAT(storedTimes(writer), IsEmpty());
}

} // namespace
} // namespace logging2::core::test
