#include <logging2/backends/recording/detail/add_times.hpp>

#include <tests/support/nan.hpp>

#include <gmock/gmock.h>

#include <vector>

namespace logging2::core::detail {
namespace {

/// What a row says after these times were added, part after part.
ChunkRow row_of(const std::vector<std::vector<double>>& parts) {
    ChunkRow row;
    for (const std::vector<double>& times : parts) {
        add_times(times.data(), times.size(), row);
    }
    return row;
}

TEST(AddTimesTest, partsGiveTheSameAsTheWhole) {
    const ChunkRow row = row_of({{1.0, 2.0}, {2.0}, {3.0, 5.0}});
    EXPECT_EQ(row.stepCount, 5U);
    EXPECT_EQ(row.firstTime, 1.0);
    EXPECT_EQ(row.lastTime, 5.0);
    EXPECT_EQ(row.leastTime, 1.0);
    EXPECT_EQ(row.greatestTime, 5.0);
    EXPECT_TRUE(row.ascends);
}

TEST(AddTimesTest, firstPartReplacesWhatTheRowSaid) {
    ChunkRow row = row_of({{9.0, nan, -9.0}});
    row.stepCount = 0;
    const double time = 3.0;
    add_times(&time, 1, row);
    EXPECT_EQ(row.stepCount, 1U);
    EXPECT_EQ(row.firstTime, 3.0);
    EXPECT_EQ(row.leastTime, 3.0);
    EXPECT_EQ(row.greatestTime, 3.0);
    EXPECT_EQ(row.nanTimeCount, 0U);
    EXPECT_TRUE(row.ascends);
}

TEST(AddTimesTest, descentWithinOrBetweenPartsIsSeen) {
    EXPECT_FALSE(row_of({{2.0, 1.0}}).ascends);
    EXPECT_FALSE(row_of({{1.0, 3.0}, {2.0, 4.0}}).ascends);
    EXPECT_FALSE(row_of({{2.0, 1.0}, {3.0}}).ascends);
}

TEST(AddTimesTest, nanIsCountedAndDoesNotAscend) {
    const ChunkRow row = row_of({{1.0, nan}, {nan, 0.5}, {2.0}});
    EXPECT_EQ(row.nanTimeCount, 2U);
    EXPECT_FALSE(row.ascends);
    EXPECT_EQ(row.leastTime, 0.5);
    EXPECT_EQ(row.greatestTime, 2.0);
}

} // namespace
} // namespace logging2::core::detail
