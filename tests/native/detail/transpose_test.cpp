#include <logging2/native/detail/transpose.hpp>

#include <gmock/gmock.h>

#include <random>

namespace logging2::core::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Columns = std::deque<std::vector<double>>;
using Doubles = std::vector<double>;

/// Row by row and value by value, as one would do it by hand.
Columns byHand(const Doubles& rows, std::size_t rowWidth, const RowLayout& layout) {
    Columns columns(layout.size() + 1);
    for (std::size_t i = 0; i < rows.size(); i += 1 + rowWidth) {
        columns[0].push_back(rows[i]);
        const std::size_t end = std::min(rows.size(), i + 1 + rowWidth);
        std::size_t next = i + 1;
        for (std::size_t j = 0; j < layout.size(); ++j) {
            for (std::size_t k = 0; k < layout[j].second && next < end; ++k) {
                columns[j + 1].push_back(rows[next++]);
            }
        }
    }
    return columns;
}

Doubles numbered(std::size_t count) {
    Doubles values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<double>(i) + 0.5;
    }
    return values;
}

TEST(TransposeTest, splitsRowsIntoTimesAndChannels) {
    Columns columns(3);
    append_rows({0.0, 1.0, 2.0, 3.0, 0.5, 4.0, 5.0, 6.0}, 3, {{7, 1}, {9, 2}}, columns);
    EXPECT_THAT(columns[0], ElementsAre(0.0, 0.5));
    EXPECT_THAT(columns[1], ElementsAre(1.0, 4.0));
    EXPECT_THAT(columns[2], ElementsAre(2.0, 3.0, 5.0, 6.0));
}

TEST(TransposeTest, appendsToWhatTheColumnsHold) {
    Columns columns{{9.0}, {8.0, 7.0}};
    append_rows({1.0, 2.0}, 1, {{0, 1}}, columns);
    EXPECT_THAT(columns[0], ElementsAre(9.0, 1.0));
    EXPECT_THAT(columns[1], ElementsAre(8.0, 7.0, 2.0));
}

TEST(TransposeTest, growsToOneColumnPerChannelAndTheTimes) {
    Columns columns;
    append_rows({1.0, 2.0, 3.0}, 2, {{0, 1}, {1, 1}}, columns);
    EXPECT_EQ(columns.size(), 3U);
    Columns more(5);
    append_rows({1.0, 2.0}, 1, {{0, 1}}, more);
    EXPECT_EQ(more.size(), 5U);
    EXPECT_THAT(more[2], IsEmpty());
}

TEST(TransposeTest, rowsWithoutValuesAreTimesOnly) {
    Columns columns;
    append_rows({1.0, 2.0, 3.0}, 0, {{0, 1}, {1, 2}}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0, 3.0), IsEmpty(), IsEmpty()));
}

TEST(TransposeTest, channelBeyondItsRowGetsWhatTheRowHas) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 2.0, 20.0, 21.0}, 2, {{0, 1}, {1, 3}, {2, 1}}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0),
                                     ElementsAre(11.0, 21.0), IsEmpty()));
}

TEST(TransposeTest, valuesBehindTheLastChannelAreLeftOut) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 2.0, 20.0, 21.0}, 2, {{0, 1}}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0)));
}

TEST(TransposeTest, lastRowMayBeCutShort) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 12.0, 2.0, 20.0}, 3, {{0, 1}, {1, 2}}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0),
                                     ElementsAre(11.0, 12.0)));
    Columns onlyTime;
    append_rows({1.0, 10.0, 2.0}, 1, {{0, 1}}, onlyTime);
    EXPECT_THAT(onlyTime, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0)));
}

TEST(TransposeTest, agreesWithTheWorkByHandForOddSizes) {
    for (const std::size_t rowCount :
         {0U, 1U, 7U, 8U, 9U, 63U, 64U, 65U, 127U, 128U, 129U, 1000U}) {
        for (std::size_t width = 1; width <= 17; ++width) {
            for (const RowLayout& layout :
                 {RowLayout{{0, width}}, RowLayout{{0, 1}, {1, width}, {2, 1}},
                  RowLayout{{0, width}, {1, 0}, {2, 3}, {3, 17 - width}}}) {
                std::size_t rowWidth = 0;
                for (const auto& [channel, channelWidth] : layout) {
                    rowWidth += channelWidth;
                }
                const Doubles rows = numbered(rowCount * (rowWidth + 1));
                Columns columns;
                append_rows(rows, rowWidth, layout, columns);
                ASSERT_EQ(columns, byHand(rows, rowWidth, layout)) << rowCount << " " << width;
            }
        }
    }
}

TEST(TransposeTest, agreesWithTheWorkByHandForAnyLengthsAndLayouts) {
    std::mt19937 random(20);
    const auto below = [&random](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    for (int i = 0; i < 3000; ++i) {
        RowLayout layout;
        for (std::size_t channel = below(6); channel > 0; --channel) {
            layout.emplace_back(channel, below(5));
        }
        const Doubles rows = numbered(below(400));
        const std::size_t rowWidth = below(9);
        Columns columns;
        append_rows(rows, rowWidth, layout, columns);
        ASSERT_EQ(columns, byHand(rows, rowWidth, layout)) << "round " << i;
    }
}

} // namespace
} // namespace logging2::core::detail
