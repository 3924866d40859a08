#include <logging2/columns/append_tile.hpp>

#include <gmock/gmock.h>

namespace logging2::core::detail {
namespace {

using Doubles = std::vector<double>;

TEST(AppendTileTest, appendsASliceOfEachRowInRowOrder) {
    const Doubles first{1.0, 2.0, 3.0};
    const Doubles second{4.0, 5.0, 6.0};
    const double* const rows[] = {first.data(), second.data()};
    Doubles column{9.0};
    append_tile(rows, 2, {{1, 2, &column}});
    EXPECT_THAT(column, ::testing::ElementsAre(9.0, 2.0, 3.0, 5.0, 6.0));
}

/// A tile whose rows have forty elements, all different.
struct Tile {
    static constexpr std::size_t rowLength = 40;

    explicit Tile(std::size_t rowCount) {
        for (std::size_t i = 0; i < rowCount * rowLength; ++i) {
            block.push_back(static_cast<double>(i) + 0.5);
        }
        for (std::size_t row = 0; row < rowCount; ++row) {
            rows.push_back(block.data() + row * rowLength);
        }
    }

    Doubles slice(std::size_t offset, std::size_t width) const {
        Doubles result;
        for (const double* row : rows) {
            result.insert(result.end(), row + offset, row + offset + width);
        }
        return result;
    }

    Doubles block;
    std::vector<const double*> rows;
};

/// Appends slices with these offsets and widths in one call and expects each column to hold its own
/// slice.
void expectSlices(std::size_t rowCount,
                  const std::vector<std::pair<std::size_t, std::size_t>>& offsetsAndWidths) {
    const Tile tile(rowCount);
    std::vector<Doubles> columns(offsetsAndWidths.size());
    std::vector<Slice> slices;
    for (std::size_t k = 0; k < columns.size(); ++k) {
        slices.push_back({offsetsAndWidths[k].first, offsetsAndWidths[k].second, &columns[k]});
    }
    append_tile(tile.rows.data(), rowCount, slices);
    for (std::size_t k = 0; k < columns.size(); ++k) {
        ASSERT_EQ(columns[k], tile.slice(offsetsAndWidths[k].first, offsetsAndWidths[k].second))
            << rowCount << " rows, slice " << k << " of " << columns.size();
    }
}

TEST(AppendTileTest, matchesTheOracleForOddSizes) {
    for (const std::size_t rowCount : {0U, 1U, 7U, 8U, 9U, 63U, 64U}) {
        for (std::size_t width = 0; width <= 17; ++width) {
            for (const std::size_t offset : {0U, 1U, 23U}) {
                expectSlices(rowCount, {{offset, width}});
            }
        }
    }
}

TEST(AppendTileTest, adjacentScalarsReachTheirOwnColumns) {
    for (const std::size_t rowCount : {0U, 1U, 7U, 8U, 9U, 63U, 64U}) {
        for (std::size_t scalarCount = 1; scalarCount <= 26; ++scalarCount) {
            std::vector<std::pair<std::size_t, std::size_t>> scalars;
            for (std::size_t k = 0; k < scalarCount; ++k) {
                scalars.emplace_back(3 + k, 1);
            }
            expectSlices(rowCount, scalars);
        }
    }
}

TEST(AppendTileTest, scatteredScalarsReachTheirOwnColumns) {
    std::vector<std::pair<std::size_t, std::size_t>> scalars;
    for (std::size_t k = 0; k < 16; ++k) {
        scalars.emplace_back(2 * k, 1);
    }
    expectSlices(64, scalars);
    expectSlices(9, {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {8, 1}});
    expectSlices(9, {{7, 1}, {6, 1}, {5, 1}, {4, 1}, {3, 1}, {2, 1}, {1, 1}, {0, 1}});
    expectSlices(9, {{5, 1}, {5, 1}, {5, 1}, {5, 1}, {5, 1}, {5, 1}, {5, 1}, {5, 1}});
}

TEST(AppendTileTest, widthsMayBeMixed) {
    for (const std::size_t rowCount : {0U, 1U, 8U, 63U, 64U}) {
        expectSlices(rowCount, {{0, 1}, {1, 17}, {18, 1}, {19, 1}, {20, 0}, {20, 9}, {29, 8}});
        expectSlices(rowCount, {{0, 3},
                                {3, 1},
                                {4, 1},
                                {5, 1},
                                {6, 1},
                                {7, 1},
                                {8, 1},
                                {9, 1},
                                {10, 1},
                                {11, 1},
                                {12, 2},
                                {14, 16}});
    }
}

} // namespace
} // namespace logging2::core::detail
