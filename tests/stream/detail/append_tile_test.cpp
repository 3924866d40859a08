#include <logging2/stream/detail/append_tile.hpp>

#include <gmock/gmock.h>

namespace logging2::core::detail {
namespace {

using Doubles = std::vector<double>;

TEST(AppendTileTest, appendsTheElementsOfEachRowInRowOrder) {
    const Doubles first{1.0, 2.0, 3.0};
    const Doubles second{4.0, 5.0, 6.0};
    const double* const rows[] = {first.data(), second.data()};
    Doubles column{9.0};
    append_tile(rows, 2, 1, 2, column);
    EXPECT_THAT(column, ::testing::ElementsAre(9.0, 2.0, 3.0, 5.0, 6.0));
}

TEST(AppendTileTest, agreesWithTheWorkByHandForOddSizes) {
    constexpr std::size_t rowLength = 40;
    Doubles block(tileRowCount * rowLength);
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<double>(i) + 0.5;
    }
    for (const std::size_t rowCount : {0U, 1U, 7U, 8U, 9U, 63U, 64U}) {
        for (std::size_t width = 0; width <= 17; ++width) {
            for (const std::size_t offset : {0U, 1U, 23U}) {
                std::vector<const double*> rows;
                Doubles expected;
                for (std::size_t row = 0; row < rowCount; ++row) {
                    rows.push_back(block.data() + row * rowLength);
                    for (std::size_t e = 0; e < width; ++e) {
                        expected.push_back(block[row * rowLength + offset + e]);
                    }
                }
                Doubles column;
                append_tile(rows.data(), rowCount, offset, width, column);
                ASSERT_EQ(column, expected) << rowCount << " rows, width " << width;
            }
        }
    }
}

} // namespace
} // namespace logging2::core::detail
