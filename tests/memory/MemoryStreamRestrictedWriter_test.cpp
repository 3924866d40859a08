#include <tests/memory/memory_writers.hpp>

#include <stdexcept>
#include <string>

// Rules of the restricted writer that differ from those of the unrestricted one.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

MemoryStreamRestrictedWriter restricted(std::size_t pointLimit,
                                        bool rollbackOnTimeRegression = false,
                                        const GroupSetup& setup = scalarSetup()) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    attributes.rollbackOnTimeRegression = rollbackOnTimeRegression;
    return MemoryStreamRestrictedWriter(attributes, setup);
}

/// Writes samples whose value is ten times their time.
void writeTimes(MemoryStreamRestrictedWriter& writer, std::initializer_list<double> times) {
    for (const double time : times) {
        write(writer, 0, time, {10.0 * time});
    }
}

std::vector<double> heldTimes(MemoryStreamRestrictedWriter& writer) {
    return {writer.times(0).begin(), writer.times(0).end()};
}

TEST(MemoryStreamRestrictedWriterTest, keepsTheMostRecentSteps) {
    auto writer = restricted(3);
    writeTimes(writer, {1.0, 2.0, 3.0, 4.0, 5.0});
    EXPECT_EQ(writer.numSteps(0), 3U);
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").times, ElementsAre(3.0, 4.0, 5.0));
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(30.0, 40.0, 50.0));
}

TEST(MemoryStreamRestrictedWriterTest, limitCountsTheStepsOfEachGroup) {
    auto writer = restricted(
        2, false,
        GroupSetup{{Group(0),
                    LoggedPathsSetupData(paths({{"a", 0}, {"b", 1}}), channels({{0, 3}, {1, 1}}))},
                   {Group(1), LoggedPathsSetupData(paths({{"c", 2}}), channels({{2, 1}}))}});
    for (int i = 0; i < 5; ++i) {
        write(writer, 0, i, {1.0, 2.0, 3.0, 4.0});
    }
    write(writer, 1, 0.0, {1.0});
    EXPECT_EQ(writer.numSteps(0), 2U);
    EXPECT_EQ(writer.numSteps(1), 1U);
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "a").values->size(), 6U);
    EXPECT_EQ(memoryStore(writer, "b").values->size(), 2U);
}

TEST(MemoryStreamRestrictedWriterTest, rollbackDoesNotRestoreOverwrittenSteps) {
    auto writer = restricted(3);
    writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    writer.rollback(0, 3.5);
    EXPECT_THAT(heldTimes(writer), ElementsAre(2.0, 3.0));
    EXPECT_EQ(writer.data(0).size(), 2U);
    EXPECT_THAT(*writer.data(0)[0], ElementsAre(20.0));
}

TEST(MemoryStreamRestrictedWriterTest, rollbackFreesRoomInTheRing) {
    auto writer = restricted(3);
    writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    writer.rollback(0, std::size_t{2});
    writeTimes(writer, {5.0, 6.0});
    EXPECT_THAT(heldTimes(writer), ElementsAre(2.0, 5.0, 6.0));
}

TEST(MemoryStreamRestrictedWriterTest, overwritingReleasesTheRowUnlessItIsShared) {
    auto writer = restricted(1);
    writeTimes(writer, {1.0});
    const std::weak_ptr<std::vector<double>> first = writer.data(0)[0];
    writeTimes(writer, {2.0});
    EXPECT_TRUE(first.expired());
    const std::shared_ptr<std::vector<double>> held = writer.data(0)[0];
    writeTimes(writer, {3.0});
    EXPECT_THAT(*held, ElementsAre(20.0));
}

TEST(MemoryStreamRestrictedWriterTest, limitZeroDiscardsEveryStep) {
    auto writer = restricted(0, true);
    const double value = 1.0;
    EXPECT_TRUE(writer.write(0, 1.0, &value, 1));
    EXPECT_TRUE(writer.write(0, 0.5, &value, 1));
    EXPECT_EQ(writer.numSteps(0), 0U);
    EXPECT_TRUE(writer.data(0).empty());
    writer.rollback(0, 0.0);
    writer.rollback(0, std::size_t{1});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").times, IsEmpty());
    EXPECT_THAT(*memoryStore(writer, "x").values, IsEmpty());
}

TEST(MemoryStreamRestrictedWriterTest, limitIsTheCapacityOfBothRings) {
    auto writer = restricted(5, false,
                             GroupSetup{{Group(0), LoggedPathsSetupData({}, {})},
                                        {Group(1), LoggedPathsSetupData({}, {})}});
    for (const std::size_t group : {0U, 1U}) {
        EXPECT_EQ(writer.times(group).capacity(), 5U);
        EXPECT_EQ(writer.data(group).capacity(), 5U);
    }
}

TEST(MemoryStreamRestrictedWriterTest, repeatedTimeReplacesTheNewestStepOfAFullRing) {
    auto writer = restricted(3, true);
    writeTimes(writer, {1.0, 2.0, 3.0});
    write(writer, 0, 3.0, {99.0});
    EXPECT_THAT(heldTimes(writer), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(*writer.data(0)[2], ElementsAre(99.0));
}

TEST(MemoryStreamRestrictedWriterTest, regressionBeforeTheOldestStepEmptiesTheRing) {
    auto writer = restricted(2, true);
    writeTimes(writer, {1.0, 2.0, 3.0, 1.0});
    EXPECT_THAT(heldTimes(writer), ElementsAre(1.0));
}

TEST(MemoryStreamRestrictedWriterTest, flushKeepsTheTimesAndRemovesTheRows) {
    auto writer = restricted(3);
    writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    writer.flush();
    EXPECT_EQ(writer.numSteps(0), 3U);
    EXPECT_THAT(heldTimes(writer), ElementsAre(2.0, 3.0, 4.0));
    EXPECT_TRUE(writer.data(0).empty());
    EXPECT_EQ(writer.times(0).capacity(), 3U);
}

TEST(MemoryStreamRestrictedWriterTest, flushKeepsTheRowsOfAGroupWithoutChannels) {
    auto writer = restricted(2, false, GroupSetup{{Group(0), LoggedPathsSetupData({}, {})}});
    writeTimes(writer, {1.0, 2.0, 3.0});
    writer.flush();
    EXPECT_EQ(writer.numSteps(0), 2U);
    EXPECT_EQ(writer.data(0).size(), 2U);
}

TEST(MemoryStreamRestrictedWriterTest, storesDoNotShareMemoryWithTheRing) {
    auto writer = restricted(3);
    writeTimes(writer, {1.0});
    writer.flush();
    writer.times(0)[0] = 5.0;
    EXPECT_THAT(*memoryStore(writer, "x").times, ElementsAre(1.0));
}

// The times of flushed steps have no rows left, so a rollback finds fewer rows than times.
TEST(MemoryStreamRestrictedWriterTest, rollbackAfterTheFlushRemovesTheRemainingRows) {
    auto writer = restricted(4);
    writeTimes(writer, {1.0, 2.0, 3.0});
    writer.flush();
    writeTimes(writer, {4.0});
    writer.rollback(0, std::size_t{2});
    EXPECT_THAT(heldTimes(writer), ElementsAre(1.0, 2.0));
    EXPECT_TRUE(writer.data(0).empty());
    writer.rollback(0, 1.0);
    EXPECT_THAT(heldTimes(writer), ElementsAre(1.0));
}

TEST(MemoryStreamRestrictedWriterTest, regressionAfterTheFlushReplacesTheFlushedTime) {
    auto writer = restricted(4, true);
    writeTimes(writer, {1.0, 2.0, 3.0});
    writer.flush();
    writeTimes(writer, {2.0});
    EXPECT_THAT(heldTimes(writer), ElementsAre(1.0, 2.0));
    ASSERT_EQ(writer.data(0).size(), 1U);
    EXPECT_THAT(*writer.data(0)[0], ElementsAre(20.0));
}

TEST(MemoryStreamRestrictedWriterTest, impossibleLimitThrowsLengthError) {
    for (const std::size_t limit :
         {std::size_t{1} << 60U, std::size_t{1} << 61U, ~std::size_t{0}}) {
        try {
            restricted(limit);
            ADD_FAILURE() << limit;
        } catch (const std::length_error& error) {
            EXPECT_EQ(std::string(error.what()), "circular_buffer");
        }
    }
}

TEST(MemoryStreamRestrictedWriterTest, anyLimitIsAcceptedWithoutGroups) {
    EXPECT_NO_THROW(restricted(~std::size_t{0}, false, GroupSetup{}));
}

TEST(MemoryStreamRestrictedWriterTest, moveTakesTheRings) {
    auto source = restricted(2);
    writeTimes(source, {1.0, 2.0, 3.0});
    const double* const newest = &source.times(0).back();
    MemoryStreamRestrictedWriter target(std::move(source));
    EXPECT_EQ(&target.times(0).back(), newest);
    writeTimes(target, {4.0});
    EXPECT_THAT(heldTimes(target), ElementsAre(3.0, 4.0));
}

} // namespace
} // namespace logging2::core::test
