#include <tests/backends/columnar/columnar_writers.hpp>

#include <atomic>
#include <stdexcept>
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

TEST(ColumnarShowingTest, piecesStayWhereTheyAreWhileTheRunGrows) {
    ColumnarStreamWriter writer({}, scalarSetup());
    const auto run = writer.run();
    std::vector<const double*> addresses;
    const auto expectSameAddresses = [&] {
        run->refresh();
        const std::vector<Series> pieces = run->pieces(ValuePath("x"));
        ASSERT_GE(pieces.size(), addresses.size());
        for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
            if (piece == addresses.size()) {
                addresses.push_back(pieces[piece].values().data());
            }
            ASSERT_EQ(pieces[piece].values().data(), addresses[piece]);
        }
    };
    for (std::size_t step = 0; step < 1000000; ++step) {
        const auto time = static_cast<double>(step);
        writer.write(0, time, &time, 1);
        if ((step & (step - 1)) == 0) {
            expectSameAddresses();
        }
    }
    EXPECT_GT(addresses.size(), 10U);
    writer.rollback(0, 999990.5);
    expectSameAddresses();
    writer.flush();
    expectSameAddresses();
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

TEST(ColumnarShowingTest, storeTakenAfterARollbackLacksUndoneSteps) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, countedTimes(1000));
    writer.flushIntermediate();
    writer.rollback(0, 998.0);
    writeTimes(writer, {2000.0});
    EXPECT_EQ(stored(writer).first, countedTimes(999));
    writer.rollback(0, 99.0);
    EXPECT_EQ(stored(writer).first, countedTimes(100));
    writer.rollback(0, -1.0);
    writeTimes(writer, countedTimes(50));
    EXPECT_THAT(stored(writer).first, IsEmpty());
    writer.flushIntermediate();
    EXPECT_EQ(stored(writer).first, countedTimes(50));
}

TEST(ColumnarShowingTest, storesThatAreTakenTogetherShareTheirView) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, countedTimes(1000));
    writer.flushIntermediate();
    const boost::any first = writer.dataStore(ValuePath("x"));
    writeTimes(writer, {2000.0});
    const boost::any second = writer.dataStore(ValuePath("x"));
    EXPECT_EQ(boost::any_cast<const ColumnarDatastore&>(first).group,
              boost::any_cast<const ColumnarDatastore&>(second).group);
}

/// How many steps fit if the last of them is undone 1,000 times, after a reader saw it.
std::size_t countOfStepsThatFit(bool isRead) {
    ColumnarOptions options;
    options.byteLimit = std::size_t{64} * 1024;
    ColumnarStreamWriter writer({}, scalarSetup(), options);
    for (int i = 0; i < 1000; ++i) {
        writeTimes(writer, {0.0, 1.0});
        writer.flushIntermediate();
        if (isRead) {
            EXPECT_EQ(stored(writer).first.back(), 1.0);
            EXPECT_EQ(timesOf(*writer.run()).back(), 1.0);
        }
        writer.rollback(0, 0.5);
    }
    std::size_t count = 1000;
    try {
        for (double time = 1.0; time < 1e6; time += 1.0) {
            writeTimes(writer, {time});
            ++count;
        }
    } catch (const std::length_error&) {
    }
    return count;
}

TEST(ColumnarShowingTest, undoneStepsAreOverwrittenOnceTheirReadersAreGone) {
    EXPECT_GT(countOfStepsThatFit(false), 3600U); // of 4,096 in all
    EXPECT_EQ(countOfStepsThatFit(true), countOfStepsThatFit(false));
}

TEST(ColumnarShowingTest, stepsThatASeriesShowsAreNotOverwritten) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 2.0, 3.0});
    const Series series = writer.run()->series(ValuePath("x"));
    writer.rollback(0, 1.0);
    writeTimes(writer, {20.0, 30.0});
    EXPECT_THAT(doubles(series.times()), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(doubles(series.values()), ElementsAre(10.0, 20.0, 30.0));
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
