#include <logging2/backends/recording/detail/buffer_plan.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::detail {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// Groups with one channel each, of these widths.
std::vector<DescribedGroup> groups_of_widths(const std::vector<std::size_t>& widths) {
    std::vector<DescribedGroup> groups;
    for (const std::size_t width : widths) {
        groups.push_back({groups.size(), {{0, width}}, {}});
    }
    return groups;
}

RecordingOptions options_of(std::size_t chunkByteCount, std::size_t bufferByteCount) {
    RecordingOptions options;
    options.chunkByteCount = chunkByteCount;
    options.bufferByteCount = bufferByteCount;
    return options;
}

/// One block of each group, and another one of the largest that waits to be written.
std::size_t needed_bytes(const std::vector<DescribedGroup>& groups,
                         const std::vector<std::size_t>& capacities) {
    std::size_t sum = 0;
    std::size_t largest = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const std::size_t byteCount = capacities[i] * row_length(groups[i]) * sizeof(double);
        sum += byteCount;
        largest = std::max(largest, byteCount);
    }
    return sum + largest;
}

std::size_t least_bytes(const std::vector<DescribedGroup>& groups) {
    return needed_bytes(groups, std::vector<std::size_t>(groups.size(), 1));
}

TEST(BufferPlanTest, twoGroupsFillWholeChunks) {
    const auto two = row_capacities(RecordingOptions(), groups_of_widths({1, 3}));
    EXPECT_THAT(two, ElementsAre(2 * mebibyte / 16, 2 * mebibyte / 32));
}

TEST(BufferPlanTest, blocksOfSeveralGroupsFitIntoACache) {
    const auto groups = groups_of_widths(std::vector<std::size_t>(8, 3));
    EXPECT_THAT(row_capacities(RecordingOptions(), groups), Each(4 * mebibyte / 8 / 32));
}

TEST(BufferPlanTest, chunksDoNotShrinkForTheCacheAlone) {
    const auto groups = groups_of_widths(std::vector<std::size_t>(100, 3));
    EXPECT_THAT(row_capacities(RecordingOptions(), groups), Each(mebibyte / 8 / 32));
}

TEST(BufferPlanTest, manyGroupsShareTheBuffers) {
    const auto groups = groups_of_widths(std::vector<std::size_t>(10000, 9));
    const auto capacities = row_capacities(RecordingOptions(), groups);
    EXPECT_THAT(capacities, Each(48 * mebibyte / 10000 / 80));
    EXPECT_LE(needed_bytes(groups, capacities), 64 * mebibyte);
}

TEST(BufferPlanTest, blocksHoldWholeLeavesOrLess) {
    EXPECT_THAT(row_capacities(options_of(1000 * 16, mebibyte), groups_of_widths({1})),
                ElementsAre(768U));
    EXPECT_THAT(row_capacities(options_of(100 * 16, mebibyte), groups_of_widths({1})),
                ElementsAre(100U));
}

TEST(BufferPlanTest, wideRowsDoNotTakeTheShareOfNarrowOnes) {
    const auto groups = groups_of_widths({1000000, 1, 1, 1});
    const auto capacities = row_capacities(options_of(2 * mebibyte, 20 * mebibyte), groups);
    EXPECT_EQ(capacities[0], 1U);
    EXPECT_EQ(capacities[1], mebibyte / 16);
    EXPECT_EQ(capacities[1], capacities[3]);
}

TEST(BufferPlanTest, blockHoldsAtLeastOneRow) {
    EXPECT_THAT(row_capacities(options_of(1, mebibyte), groups_of_widths({1, 1000})),
                ElementsAre(1U, 1U));
}

TEST(BufferPlanTest, noGroupsNeedNoBuffers) {
    EXPECT_THAT(row_capacities(options_of(1, 0), {}), IsEmpty());
}

TEST(BufferPlanTest, largeChunksShrinkToTheBuffers) {
    for (const std::size_t groupCount : {1U, 2U, 3U, 4U}) {
        const auto groups = groups_of_widths(std::vector<std::size_t>(groupCount, 1));
        const auto capacities = row_capacities(options_of(mebibyte, mebibyte), groups);
        EXPECT_LE(needed_bytes(groups, capacities), mebibyte);
        EXPECT_GE(needed_bytes(groups, capacities), mebibyte / 2);
    }
}

TEST(BufferPlanTest, everyBufferThatHoldsTheRowsIsEnough) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::size_t> widths(1 + random() % 12);
        for (std::size_t& width : widths) {
            width = random() % 3 == 0 ? random() % 5000 : random() % 20;
        }
        const auto groups = groups_of_widths(widths);
        const std::size_t bufferByteCount =
            least_bytes(groups) + random() % 3 * (random() % 100000);
        const auto capacities =
            row_capacities(options_of(std::size_t{1} << random() % 20, bufferByteCount), groups);
        ASSERT_LE(needed_bytes(groups, capacities), bufferByteCount)
            << ::testing::PrintToString(widths);
        ASSERT_GE(*std::min_element(capacities.begin(), capacities.end()), 1U);
    }
}

TEST(BufferPlanTest, tooSmallABufferIsRefusedWithASufficientSize) {
    const auto groups = groups_of_widths({99, 9, 0});
    const std::size_t enough = least_bytes(groups);
    EXPECT_NO_THROW(row_capacities(options_of(mebibyte, enough), groups));
    try {
        row_capacities(options_of(mebibyte, enough - 1), groups);
        FAIL() << "nothing was thrown";
    } catch (const std::invalid_argument& error) {
        EXPECT_EQ(std::string(error.what()),
                  "RecordingOptions::bufferByteCount is " + std::to_string(enough - 1) +
                      ", but these groups need at least " + std::to_string(enough));
    }
}

TEST(BufferPlanTest, rowLengthCountsTheTimeAndAllChannels) {
    EXPECT_EQ(row_length({0, {}, {}}), 1U);
    EXPECT_EQ(row_length({0, {{0, 1}, {1, 0}, {2, 9}}, {}}), 11U);
}

} // namespace
} // namespace logging2::core::detail
