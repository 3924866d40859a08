#include <logging2/backends/recording/detail/ChunkEncoder.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/conformance/detail/same_bits.hpp>

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace logging2::core::detail {
namespace {

using core::test::sameBits;
using Doubles = std::vector<double>;

/// Rows of random doubles, some of them NaN, infinite or -0.
Doubles random_rows(std::mt19937& random, std::size_t count) {
    Doubles rows(count);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double special[] = {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity,
                                  -0.0};
    for (double& value : rows) {
        const auto pick = random() % 40;
        value = pick < 4 ? special[pick] : static_cast<double>(random()) / 7.0;
    }
    return rows;
}

/// The values of one column, taken from the rows one by one.
Doubles naive_column(const Doubles& rows, std::size_t rowLength, std::size_t offset,
                     std::size_t width) {
    Doubles column;
    for (std::size_t first = offset; first < rows.size(); first += rowLength) {
        for (std::size_t element = 0; element < width; ++element) {
            column.push_back(rows[first + element]);
        }
    }
    return column;
}

class ChunkEncoderTest : public ::testing::Test {
protected:
    /// A payload whose bytes were all something else before.
    void encode(const std::vector<std::size_t>& widths, std::size_t rowCount) {
        ChunkEncoder encoder(widths);
        rowLength = encoder.rowLength();
        rows = random_rows(random, rowCount * rowLength);
        layout = *encoder.layout(rowCount);
        memory.assign((layout.byteCount + alignment) / sizeof(double) + 1, 1e300);
        void* place = memory.data();
        std::size_t space = memory.size() * sizeof(double);
        std::align(alignment, layout.byteCount, place, space);
        payload = static_cast<char*>(place);
        encoder.encode(layout, rows.data(), payload);
    }

    Doubles doublesAt(std::uint64_t offset, std::size_t count) const {
        Doubles result(count);
        if (count > 0) {
            std::memcpy(result.data(), payload + offset, count * sizeof(double));
        }
        return result;
    }

    void expectColumns() const {
        std::size_t offset = 0;
        for (const ColumnLayout& column : layout.columns) {
            EXPECT_TRUE(sameBits(doublesAt(column.values, layout.stepCount * column.width),
                                 naive_column(rows, rowLength, offset, column.width)));
            offset += column.width;
        }
    }

    /// The nodes of every level, made from the samples and from the level below.
    void expectTree(const ColumnLayout& column) const {
        Doubles below = leavesOf(column);
        const std::size_t stride = node_double_count(column.width);
        for (std::size_t level = 0; level < column.levels.size(); ++level) {
            EXPECT_TRUE(sameBits(doublesAt(column.levels[level], below.size()), below));
            Doubles nodes;
            for (std::size_t first = 0; first < below.size() / stride; first += fanOut) {
                nodes.resize(nodes.size() + stride);
                write_node(&below[first * stride], std::min(fanOut, below.size() / stride - first),
                           column.width, &nodes[nodes.size() - stride]);
            }
            below = nodes;
        }
        EXPECT_TRUE(sameBits(doublesAt(column.root, stride), below));
    }

    Doubles leavesOf(const ColumnLayout& column) const {
        Doubles leaves;
        const std::size_t stride = node_double_count(column.width);
        for (std::size_t first = 0; first < layout.stepCount; first += leafStepCount) {
            const std::size_t count = std::min(leafStepCount, layout.stepCount - first);
            const Doubles samples = doublesAt(column.values + first * column.width * sizeof(double),
                                              count * column.width);
            leaves.resize(leaves.size() + stride);
            write_leaf(samples.data(), count, column.width, &leaves[leaves.size() - stride]);
        }
        return leaves;
    }

    std::mt19937 random{1};
    std::size_t rowLength = 0;
    Doubles rows;
    ChunkLayout layout;
    Doubles memory;
    char* payload = nullptr;
};

const std::vector<std::vector<std::size_t>> manyWidths{{},
                                                       {0},
                                                       {1},
                                                       {3},
                                                       {4},
                                                       {6},
                                                       {9},
                                                       {1000},
                                                       {1, 0, 3, 9, 1},
                                                       {0, 0, 1, 1, 0, 2},
                                                       {1, 1, 1, 1, 1, 1, 1},
                                                       {1, 1, 1, 1, 1, 1, 1, 1, 1},
                                                       {2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
                                                       std::vector<std::size_t>(100, 1)};

TEST_F(ChunkEncoderTest, columnsEqualThoseOfAPlainTransposition) {
    for (const auto& widths : manyWidths) {
        SCOPED_TRACE(::testing::PrintToString(widths));
        for (const std::size_t rowCount : {1U, 2U, 7U, 255U, 256U, 257U, 600U}) {
            encode(widths, rowCount);
            expectColumns();
        }
    }
}

TEST_F(ChunkEncoderTest, treesDescribeTheirColumns) {
    for (const auto& widths : manyWidths) {
        SCOPED_TRACE(::testing::PrintToString(widths));
        for (const std::size_t rowCount : {1U, 256U, 257U, 600U}) {
            encode(widths, rowCount);
            for (const ColumnLayout& column : layout.columns) {
                expectTree(column);
            }
        }
    }
}

TEST_F(ChunkEncoderTest, treesOfLongChunksHaveSeveralLevels) {
    encode({1, 3}, leafStepCount * fanOut + 1);
    ASSERT_EQ(layout.columns[1].levels.size(), 2U);
    expectColumns();
    expectTree(layout.columns[0]);
    expectTree(layout.columns[1]);
    expectTree(layout.columns[2]);
}

TEST_F(ChunkEncoderTest, gapsAreZero) {
    encode({1, 0, 3, 9}, 257);
    std::vector<bool> isUsed(layout.byteCount, false);
    const auto use = [&](std::uint64_t first, std::size_t doubleCount) {
        std::fill_n(isUsed.begin() + static_cast<std::ptrdiff_t>(first),
                    doubleCount * sizeof(double), true);
    };
    for (const ColumnLayout& column : layout.columns) {
        use(column.root, node_double_count(column.width));
        use(column.values, (column.end - column.values) / sizeof(double));
    }
    for (std::size_t i = 0; i < isUsed.size(); ++i) {
        ASSERT_TRUE(isUsed[i] || payload[i] == 0) << "byte " << i;
    }
}

TEST_F(ChunkEncoderTest, nothingIsWrittenBehindThePayload) {
    encode({1, 3}, 100);
    const double behind = doublesAt(layout.byteCount, 1).front();
    EXPECT_EQ(behind, 1e300);
}

TEST_F(ChunkEncoderTest, rowLengthCountsTheTime) {
    EXPECT_EQ(ChunkEncoder({}).rowLength(), 1U);
    EXPECT_EQ(ChunkEncoder({1, 0, 9}).rowLength(), 11U);
}

TEST_F(ChunkEncoderTest, layoutFollowsTheNumberOfSteps) {
    ChunkEncoder encoder({1});
    EXPECT_EQ(encoder.layout(10)->stepCount, 10U);
    EXPECT_EQ(encoder.layout(20)->stepCount, 20U);
    EXPECT_EQ(encoder.layout(20)->byteCount, layout_of({1}, 20).byteCount);
}

} // namespace
} // namespace logging2::core::detail
