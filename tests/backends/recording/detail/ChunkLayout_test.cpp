#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

namespace logging2::core::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t leafNodeByteCount = 4 * sizeof(double); // of a node of width 1

/// All parts of the chunk as [first byte, end).
std::vector<std::pair<std::uint64_t, std::uint64_t>> parts_of(const ChunkLayout& layout) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> parts;
    const auto add = [&parts](std::uint64_t first, std::size_t doubleCount) {
        parts.emplace_back(first, first + doubleCount * sizeof(double));
    };
    for (const ColumnLayout& column : layout.columns) {
        add(column.root, node_double_count(column.width));
        add(column.values, layout.stepCount * column.width);
        for (std::size_t level = 0; level < column.levels.size(); ++level) {
            add(column.levels[level], column.nodeCounts[level] * node_double_count(column.width));
        }
    }
    std::sort(parts.begin(), parts.end());
    return parts;
}

TEST(ChunkLayoutTest, chunkOfOneLeafHasOnlyTheRoots) {
    const ChunkLayout layout = layout_of({1}, leafStepCount);
    ASSERT_EQ(layout.columns.size(), 2U);
    EXPECT_EQ(layout.columns[0].root, 0U);
    EXPECT_EQ(layout.columns[1].root, leafNodeByteCount);
    EXPECT_EQ(layout.directoryByteCount, 64U);
    EXPECT_EQ(layout.columns[0].values, 64U);
    EXPECT_EQ(layout.columns[1].values, 64U + leafStepCount * sizeof(double));
    EXPECT_THAT(layout.columns[0].levels, IsEmpty());
    EXPECT_EQ(layout.byteCount, 64U + 2 * leafStepCount * sizeof(double));
}

TEST(ChunkLayoutTest, leavesFollowTheirColumn) {
    const ChunkLayout layout = layout_of({}, leafStepCount + 1);
    const ColumnLayout& times = layout.columns[0];
    EXPECT_THAT(times.nodeCounts, ElementsAre(2U));
    EXPECT_THAT(times.levels, ElementsAre(times.values + (leafStepCount + 1) * sizeof(double)));
    EXPECT_EQ(times.end, times.levels[0] + 2 * leafNodeByteCount);
}

TEST(ChunkLayoutTest, levelsGrowByTheFanOut) {
    EXPECT_THAT(layout_of({}, leafStepCount * fanOut).columns[0].nodeCounts, ElementsAre(32U));
    EXPECT_THAT(layout_of({}, leafStepCount * fanOut + 1).columns[0].nodeCounts,
                ElementsAre(33U, 2U));
    EXPECT_THAT(layout_of({}, leafStepCount * fanOut * fanOut + 1).columns[0].nodeCounts,
                ElementsAre(1025U, 33U, 2U));
}

TEST(ChunkLayoutTest, nodeDescribesTheStepsOfItsLeaves) {
    EXPECT_EQ(ColumnLayout::stepsPerNode(0), 256U);
    EXPECT_EQ(ColumnLayout::stepsPerNode(1), 8192U);
    EXPECT_EQ(ColumnLayout::stepsPerNode(2), 262144U);
}

TEST(ChunkLayoutTest, columnsAreAlignedAndNothingOverlaps) {
    for (const std::size_t stepCount : {1U, 2U, 63U, 255U, 256U, 257U, 8192U, 8193U, 70000U}) {
        SCOPED_TRACE(stepCount);
        const ChunkLayout layout = layout_of({0, 1, 3, 9, 1000}, stepCount);
        for (const ColumnLayout& column : layout.columns) {
            EXPECT_EQ(column.values % alignment, 0U);
        }
        const auto parts = parts_of(layout);
        for (std::size_t i = 1; i < parts.size(); ++i) {
            EXPECT_LE(parts[i - 1].second, parts[i].first);
        }
        EXPECT_LE(parts.back().second, layout.byteCount);
        EXPECT_EQ(layout.byteCount % alignment, 0U);
        EXPECT_LT(layout.byteCount - layout.columns.back().end, alignment);
    }
}

TEST(ChunkLayoutTest, columnOfWidthZeroHasNoValues) {
    const ChunkLayout layout = layout_of({0}, 10);
    EXPECT_EQ(layout.columns[1].end, layout.columns[1].values);
}

TEST(ChunkLayoutTest, impossibleSizesAreRefused) {
    const std::size_t huge = std::size_t{1} << 62;
    EXPECT_THROW(layout_of({1}, huge), std::length_error);
    EXPECT_THROW(layout_of({1}, ~std::size_t{0}), std::length_error);
    EXPECT_THROW(layout_of({std::size_t{1} << 32}, std::size_t{1} << 40), std::length_error);
    EXPECT_THROW(layout_of(std::vector<std::size_t>(64, 1), std::size_t{1} << 56),
                 std::length_error);
}

} // namespace
} // namespace logging2::core::detail
