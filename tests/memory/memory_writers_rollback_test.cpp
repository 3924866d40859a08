#include <tests/memory/memory_writers.hpp>

#include <algorithm>
#include <ctime>

// The cost of a rollback, its effect on times that the caller changed, and what an override may do.

namespace logging2::core::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

template <class Writer>
class MemoryWritersRollbackTest : public MemoryWritersTest<Writer> {};
TYPED_TEST_SUITE(MemoryWritersRollbackTest, MemoryWriters, WriterNames);

/// Calls an action after each rollback by time.
template <class Writer>
class OverridingWriter : public Writer {
public:
    using Action = void (*)(OverridingWriter&);
    using Writer::rollback;

    OverridingWriter(std::size_t pointLimit, Action what)
        : Writer(limitedTo(pointLimit), scalarSetup()),
          action(what) {}

    void rollback(std::size_t group, double time) override {
        Writer::rollback(group, time);
        action(*this);
    }

private:
    static StreamingAttributes limitedTo(std::size_t pointLimit) {
        StreamingAttributes result = attributes(true);
        result.pointLimit = pointLimit;
        return result;
    }

    Action action;
};

TYPED_TEST(MemoryWritersRollbackTest, overriddenRollbackMayFlushInAWrite) {
    for (const int sampleCount : {3, 62, 63, 64, 200}) {
        OverridingWriter<TypeParam> writer(1000, [](auto& self) { self.flush(); });
        this->writeTimes(writer, std::vector<double>(1, 0.0));
        for (int i = 1; i < sampleCount; ++i) {
            const double value = i;
            writer.write(0, i, &value, 1);
        }
        const double replaced = -1.0;
        EXPECT_TRUE(writer.write(0, 1.5, &replaced, 1));
        ASSERT_EQ(writer.data(0).size(), 1U);
        EXPECT_THAT(*writer.data(0).back(), ElementsAre(-1.0));
        EXPECT_EQ(writer.times(0).back(), 1.5);
    }
}

TYPED_TEST(MemoryWritersRollbackTest, overriddenRollbackMayWriteInAWrite) {
    for (const int sampleCount : {1, 62, 63, 64, 126, 200}) {
        OverridingWriter<TypeParam> writer(1000, [](auto& self) {
            for (int i = 1; i < 200; ++i) {
                const double value = 7.0;
                self.write(0, 10.0 + i, &value, 1);
            }
        });
        this->writeTimes(writer, std::vector<double>(1, 10.0));
        for (int i = 1; i < sampleCount; ++i) {
            const double value = 0.0;
            writer.write(0, 10.0 + i / 1000.0, &value, 1);
        }
        const double added = -1.0;
        EXPECT_TRUE(writer.write(0, 10.0, &added, 1));
        ASSERT_EQ(writer.data(0).size(), writer.times(0).size());
        EXPECT_EQ(writer.numSteps(0), 201U);
        EXPECT_EQ(writer.data(0).back()->front(), -1.0);
        const std::vector<double> values = this->firstValues(writer);
        EXPECT_THAT(std::vector<double>(values.begin() + 1, values.end() - 1), Each(7.0));
    }
}

TYPED_TEST(MemoryWritersRollbackTest, overriddenRollbackMayAssignAnotherWriterInAWrite) {
    OverridingWriter<TypeParam> writer(1000, [](auto& self) {
        TypeParam other(attributes(true), scalarSetup());
        MemoryWritersTest<TypeParam>::writeTimes(other, {0.5});
        static_cast<TypeParam&>(self) = std::move(other);
    });
    this->writeTimes(writer, {1.0, 2.0, 1.5});
    EXPECT_THAT(this->times(writer), ElementsAre(0.5, 1.5));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 3.0));
}

TYPED_TEST(MemoryWritersRollbackTest, rollbackScansTimesChangedByTheCallerFromTheFront) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    auto& times = writer.times(0);
    times[1] = 9.0;
    writer.rollback(0, 5.0);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
    // The reference remains valid after further samples.
    const double value = 5.0;
    for (const double time : {6.0, 7.0, 8.0}) {
        writer.write(0, time, &value, 1);
    }
    times[1] = 20.0;
    writer.rollback(0, 10.0);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersRollbackTest, rollbackScansTimesChangedBeforeAMove) {
    auto source = this->make();
    this->writeTimes(source, {1.0, 2.0, 3.0});
    source.times(0)[0] = 9.0;
    TypeParam target(std::move(source));
    target.rollback(0, 5.0);
    EXPECT_EQ(target.numSteps(0), 0U);
    auto other = this->make();
    this->writeTimes(other, {1.0, 2.0, 3.0});
    other.times(0)[0] = 9.0;
    target = std::move(other);
    target.rollback(0, 5.0);
    EXPECT_EQ(target.numSteps(0), 0U);
}

TYPED_TEST(MemoryWritersRollbackTest, everyLaterRollbackFindsATimeOutOfOrder) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 5.0, 2.0, 3.0, 4.0});
    writer.rollback(0, 4.5);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
    // An emptied group starts again.
    writer.rollback(0, 0.0);
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    writer.rollback(0, 2.5);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersRollbackTest, nanTimesNeverCountAsLater) {
    for (const std::vector<double>& times :
         {std::vector<double>{nan, 1.0, 2.0}, std::vector<double>{1.0, nan, 2.0},
          std::vector<double>{1.0, 2.0, nan}}) {
        auto writer = this->make();
        this->writeTimes(writer, times);
        writer.rollback(0, 1.5);
        const auto firstLater = std::find(times.begin(), times.end(), 2.0);
        EXPECT_EQ(writer.numSteps(0), static_cast<std::size_t>(firstLater - times.begin()));
    }
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.rollback(0, nan);
    EXPECT_EQ(writer.numSteps(0), 2U);
}

enum class Rejects { nothing, byRollback, byRegression };

/// Seconds of processor time of 100,000 steps. One step in sixteen is rejected and solved again.
template <class Writer>
double secondsOfARun(Rejects rejects) {
    constexpr int stepCount = 100000;
    StreamingAttributes settings = attributes(rejects == Rejects::byRegression);
    settings.pointLimit = stepCount / 2; // the rings are full for half of the run
    Writer writer(settings, scalarSetup());
    const std::clock_t start = std::clock(); // processor time, independent of other processes
    for (int step = 0; step < stepCount; ++step) {
        const double value = step;
        writer.write(0, step, &value, 1);
        if (rejects != Rejects::nothing && step % 16 == 0) {
            if (rejects == Rejects::byRollback) {
                writer.rollback(0, step - 0.5);
            }
            writer.write(0, step - 0.25, &value, 1);
        }
    }
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// The shortest of five runs, because other processes can only make a run longer.
template <class Writer>
double leastSecondsOfARun(Rejects rejects) {
    double least = secondsOfARun<Writer>(rejects);
    for (int i = 1; i < 5; ++i) {
        least = std::min(least, secondsOfARun<Writer>(rejects));
    }
    return least;
}

// A scan of the whole history would take more than a hundred times as long. scripts/bench measures
// the ratios exactly.
TYPED_TEST(MemoryWritersRollbackTest, rollbackCostDependsOnlyOnTheDroppedSamples) {
    const double without = leastSecondsOfARun<TypeParam>(Rejects::nothing);
    EXPECT_LT(leastSecondsOfARun<TypeParam>(Rejects::byRollback), 20.0 * without);
    EXPECT_LT(leastSecondsOfARun<TypeParam>(Rejects::byRegression), 20.0 * without);
}

} // namespace
} // namespace logging2::core::test
