#include <logging2/backends/recording/detail/VisibleSteps.hpp>

#include <tests/support/nan.hpp>

#include <gmock/gmock.h>

#include <algorithm>

namespace logging2::core::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A group whose chunks have ten steps each.
class VisibleStepsTest : public ::testing::Test {
protected:
    void add(double leastTime, double greatestTime) {
        ChunkRow row;
        row.firstStep = group.stepCount;
        row.stepCount = row.storedStepCount = 10;
        row.leastTime = leastTime;
        row.greatestTime = greatestTime;
        row.greatestSoFar = greatestTime;
        if (!group.chunks.empty()) {
            row.greatestSoFar = std::max(greatestTime, group.chunks.back().greatestSoFar);
        }
        group.chunks.push_back(row);
        group.stepCount += 10;
    }

    /// The places of the chunks near the range.
    std::vector<std::size_t> chunksNear(double from, double to) const {
        std::vector<std::size_t> result;
        for (const SampleSpan& span : VisibleSteps(group, group.stepCount).spansNear(from, to)) {
            result.push_back(span.chunk->firstStep / 10);
        }
        return result;
    }

    StoredGroup group;
};

TEST_F(VisibleStepsTest, lastSpanEndsWithTheLastVisibleStep) {
    add(0.0, 9.0);
    add(10.0, 19.0);
    add(20.0, 29.0);
    const VisibleSteps steps(group, 13);
    ASSERT_EQ(steps.spans().size(), 2U);
    EXPECT_EQ(steps.spans()[0].count, 10U);
    EXPECT_EQ(steps.spans()[1].chunk, &group.chunks[1]);
    EXPECT_EQ(steps.spans()[1].first, 0U);
    EXPECT_EQ(steps.spans()[1].count, 3U);
    EXPECT_THAT(VisibleSteps(group, 0).spans(), IsEmpty());
}

TEST_F(VisibleStepsTest, rangeOfAscendingTimesNeedsItsOwnChunks) {
    add(0.0, 9.0);
    add(10.0, 19.0);
    add(20.0, 29.0);
    EXPECT_THAT(chunksNear(10.0, 19.0), ElementsAre(1));
    EXPECT_THAT(chunksNear(9.0, 10.0), ElementsAre(0, 1));
    EXPECT_THAT(chunksNear(-5.0, 100.0), ElementsAre(0, 1, 2));
    EXPECT_THAT(chunksNear(9.5, 9.6), IsEmpty());
    EXPECT_THAT(chunksNear(-5.0, -1.0), IsEmpty());
    EXPECT_THAT(chunksNear(30.0, 40.0), IsEmpty());
}

TEST_F(VisibleStepsTest, timesMayGoBack) {
    add(0.0, 30.0);
    add(2.0, 5.0);
    add(31.0, 40.0);
    add(1.0, 3.0);
    EXPECT_THAT(chunksNear(3.0, 4.0), ElementsAre(0, 1, 3));
    EXPECT_THAT(chunksNear(35.0, 50.0), ElementsAre(2));
    EXPECT_THAT(chunksNear(-1.0, 1.0), ElementsAre(0, 3));
}

TEST_F(VisibleStepsTest, chunkWithoutTimesIsNearNoRange) {
    add(0.0, 9.0);
    add(ChunkRow().leastTime, ChunkRow().greatestTime);
    add(10.0, 19.0);
    EXPECT_THAT(chunksNear(0.0, 19.0), ElementsAre(0, 2));
}

TEST_F(VisibleStepsTest, nothingIsNearNanOrAnEmptyRange) {
    add(0.0, 9.0);
    add(10.0, 19.0);
    EXPECT_THAT(chunksNear(nan, 5.0), IsEmpty());
    EXPECT_THAT(chunksNear(5.0, nan), IsEmpty());
    EXPECT_THAT(chunksNear(15.0, 5.0), IsEmpty());
}

} // namespace
} // namespace logging2::core::detail
