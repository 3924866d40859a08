#include <logging2/columns/append_rows.hpp>

#include <gmock/gmock.h>

#include <numeric>
#include <random>

namespace logging2::core::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Columns = std::deque<std::vector<double>>;
using Doubles = std::vector<double>;

/// The expected columns, filled row by row and value by value.
Columns oracleColumns(const Doubles& rows, std::size_t rowWidth, const ChannelWidths& widths) {
    Columns columns(widths.size() + 1);
    for (std::size_t i = 0; i < rows.size(); i += 1 + rowWidth) {
        columns[0].push_back(rows[i]);
        const std::size_t end = std::min(rows.size(), i + 1 + rowWidth);
        std::size_t next = i + 1;
        for (std::size_t j = 0; j < widths.size(); ++j) {
            for (std::size_t k = 0; k < widths[j] && next < end; ++k) {
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

TEST(AppendRowsTest, splitsRowsIntoTimesAndChannels) {
    Columns columns(3);
    append_rows({0.0, 1.0, 2.0, 3.0, 0.5, 4.0, 5.0, 6.0}, 3, {1, 2}, columns);
    EXPECT_THAT(columns[0], ElementsAre(0.0, 0.5));
    EXPECT_THAT(columns[1], ElementsAre(1.0, 4.0));
    EXPECT_THAT(columns[2], ElementsAre(2.0, 3.0, 5.0, 6.0));
}

TEST(AppendRowsTest, appendsToWhatTheColumnsHold) {
    Columns columns{{9.0}, {8.0, 7.0}};
    append_rows({1.0, 2.0}, 1, {1}, columns);
    EXPECT_THAT(columns[0], ElementsAre(9.0, 1.0));
    EXPECT_THAT(columns[1], ElementsAre(8.0, 7.0, 2.0));
}

/// The number of times that the column is reallocated while rows of one value are appended batch by
/// batch.
std::size_t growthsWhileAppending(std::size_t batchCount, Columns& columns) {
    std::size_t growths = 0;
    for (std::size_t batch = 0; batch < batchCount; ++batch) {
        const std::size_t capacity = columns[1].capacity();
        append_rows({1.0, 2.0}, 1, {1}, columns);
        growths += columns[1].capacity() != capacity ? 1 : 0;
    }
    return growths;
}

TEST(AppendRowsTest, columnGrowsGeometrically) {
    Columns columns(2);
    EXPECT_LE(growthsWhileAppending(20000, columns), 16U);
    EXPECT_THAT(columns[1], SizeIs(20000U));
}

TEST(AppendRowsTest, emptyColumnReservesExactlyWhatItNeeds) {
    Columns columns(2);
    columns[1].reserve(3);
    append_rows({1.0, 2.0, 1.0, 2.0, 1.0, 2.0, 1.0, 2.0}, 1, {1}, columns);
    EXPECT_EQ(columns[1].capacity(), 4U);
}

TEST(AppendRowsTest, missingColumnsAreAddedAndSpareColumnsStayEmpty) {
    Columns columns;
    append_rows({1.0, 2.0, 3.0}, 2, {1, 1}, columns);
    EXPECT_EQ(columns.size(), 3U);
    Columns more(5);
    append_rows({1.0, 2.0}, 1, {1}, more);
    EXPECT_EQ(more.size(), 5U);
    EXPECT_THAT(more[2], IsEmpty());
}

TEST(AppendRowsTest, rowsWithoutValuesFillOnlyTheTimes) {
    Columns columns;
    append_rows({1.0, 2.0, 3.0}, 0, {1, 2}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0, 3.0), IsEmpty(), IsEmpty()));
}

TEST(AppendRowsTest, channelIsCutAtTheEndOfItsRow) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 2.0, 20.0, 21.0}, 2, {1, 3, 1}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0),
                                     ElementsAre(11.0, 21.0), IsEmpty()));
}

TEST(AppendRowsTest, valuesAfterTheLastChannelAreIgnored) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 2.0, 20.0, 21.0}, 2, {1}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0)));
}

TEST(AppendRowsTest, lastRowMayBeIncomplete) {
    Columns columns;
    append_rows({1.0, 10.0, 11.0, 12.0, 2.0, 20.0}, 3, {1, 2}, columns);
    EXPECT_THAT(columns, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0, 20.0),
                                     ElementsAre(11.0, 12.0)));
    Columns onlyTime;
    append_rows({1.0, 10.0, 2.0}, 1, {1}, onlyTime);
    EXPECT_THAT(onlyTime, ElementsAre(ElementsAre(1.0, 2.0), ElementsAre(10.0)));
}

TEST(AppendRowsTest, matchesTheOracleForOddSizes) {
    for (const std::size_t rowCount :
         {0U, 1U, 7U, 8U, 9U, 63U, 64U, 65U, 127U, 128U, 129U, 1000U}) {
        for (std::size_t width = 1; width <= 17; ++width) {
            for (const ChannelWidths& widths : {ChannelWidths{width}, ChannelWidths{1, width, 1},
                                                ChannelWidths{width, 0, 3, 17 - width}}) {
                const std::size_t rowWidth =
                    std::accumulate(widths.begin(), widths.end(), std::size_t{0});
                const Doubles rows = numbered(rowCount * (rowWidth + 1));
                Columns columns;
                append_rows(rows, rowWidth, widths, columns);
                ASSERT_EQ(columns, oracleColumns(rows, rowWidth, widths))
                    << rowCount << " " << width;
            }
        }
    }
}

TEST(AppendRowsTest, matchesTheOracleForRandomLengthsAndLayouts) {
    std::mt19937 random(20);
    const auto below = [&random](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    for (int i = 0; i < 3000; ++i) {
        ChannelWidths widths;
        for (std::size_t channel = below(6); channel > 0; --channel) {
            widths.push_back(below(5));
        }
        const Doubles rows = numbered(below(400));
        const std::size_t rowWidth = below(9);
        Columns columns;
        append_rows(rows, rowWidth, widths, columns);
        ASSERT_EQ(columns, oracleColumns(rows, rowWidth, widths)) << "round " << i;
    }
}

} // namespace
} // namespace logging2::core::detail
