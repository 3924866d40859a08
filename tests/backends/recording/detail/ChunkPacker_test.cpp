#include <logging2/backends/recording/detail/ChunkPacker.hpp>

#include <logging2/backends/recording/detail/ChunkEncoder.hpp>
#include <logging2/backends/recording/detail/PackedLayout.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>
#include <tests/backends/recording/value_kinds.hpp>

#include <gmock/gmock.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::detail {
namespace {

using core::test::values_of_kind;
using ::testing::Each;
using ::testing::Eq;
using Doubles = std::vector<double>;

class ChunkPackerTest : public ::testing::Test {
protected:
    /// Packs a chunk whose times are noise, with one channel of width 1.
    bool packs(const Doubles& values) {
        encode({1}, values.size());
        std::copy(values.begin(), values.end(),
                  doubles_at(bytesOf(whole), layout.columns[1].values));
        pack();
        return packed.has_value();
    }

    /// A chunk whose doubles are all noise.
    void encode(const std::vector<std::size_t>& widths, std::size_t stepCount) {
        ChunkEncoder encoder(widths);
        layout = *encoder.layout(stepCount);
        whole.assign(layout.byteCount / sizeof(double), 0.0);
        const Doubles rows = values_of_kind("any bits", stepCount * encoder.rowLength());
        encoder.encode(layout, rows.data(), bytesOf(whole));
    }

    void pack() {
        payload = whole;
        packed = packer.pack(layout, bytesOf(payload));
    }

    static char* bytesOf(Doubles& doubles) {
        return static_cast<char*>(static_cast<void*>(doubles.data()));
    }

    std::string bytesAt(Doubles& doubles, std::uint64_t offset, std::uint64_t count) {
        return {bytesOf(doubles) + offset, count};
    }

    PackedLayout packedLayout() {
        std::vector<std::uint32_t> sizes(segment_count(layout));
        std::memcpy(sizes.data(), bytesOf(payload) + segment_table_offset(layout),
                    sizes.size() * sizeof(std::uint32_t));
        return {layout, sizes};
    }

    ChunkPacker packer;
    ChunkLayout layout;
    Doubles whole;
    Doubles payload;
    std::optional<ChunkPacker::Packed> packed;
};

TEST_F(ChunkPackerTest, columnIsPackedIfItSaves15Percent) {
    // The more of the values are equal, the more is saved.
    SegmentCodec codec;
    std::string segment(packed_byte_count_limit(8000), '\0');
    std::vector<bool> found;
    for (std::size_t equalCount = 1150; equalCount < 1300; ++equalCount) {
        Doubles values = values_of_kind("any bits", 8000);
        std::fill_n(values.begin(), equalCount, 1.0);
        const std::size_t byteCount = 4 + codec.pack(values.data(), 1, 8000, segment.data());
        EXPECT_EQ(packs(values), 100 * byteCount <= 85 * 8 * 8000) << byteCount;
        found.push_back(packed.has_value());
    }
    EXPECT_FALSE(found.front());
    EXPECT_TRUE(found.back());
}

TEST_F(ChunkPackerTest, payloadThatDoesNotBecomeSmallerIsLeftAlone) {
    for (const std::size_t stepCount : {1U, 2U, 100U, 9000U}) {
        encode({1, 0, 3}, stepCount);
        pack();
        EXPECT_FALSE(packed);
        EXPECT_EQ(std::memcmp(payload.data(), whole.data(), layout.byteCount), 0);
    }
}

TEST_F(ChunkPackerTest, savingLessThanTheTableOfSegmentsIsNone) {
    // One column of 100 could be packed, and the table needs 4 bytes for each.
    encode(std::vector<std::size_t>(1000, 1), 100);
    std::fill_n(doubles_at(bytesOf(whole), layout.columns[7].values), 100, 1.0);
    pack();
    EXPECT_FALSE(packed);
    EXPECT_EQ(std::memcmp(payload.data(), whole.data(), layout.byteCount), 0);
}

TEST_F(ChunkPackerTest, columnsThatAreNotPackedKeepTheirBytes) {
    encode({1, 2, 0, 1}, 9000);
    std::fill_n(doubles_at(bytesOf(whole), layout.columns[2].values), 18000, 1.0);
    pack();
    ASSERT_TRUE(packed);
    const PackedLayout places = packedLayout();
    for (const std::size_t k : {0U, 1U, 3U, 4U}) {
        const std::size_t byteCount = layout.columns[k].width * 9000 * sizeof(double);
        EXPECT_FALSE(places.column(k).isPacked);
        EXPECT_EQ(places.column(k).values % alignment, 0U);
        EXPECT_EQ(places.column(k).end, places.column(k).values + byteCount);
        EXPECT_EQ(bytesAt(payload, places.column(k).values, byteCount),
                  bytesAt(whole, layout.columns[k].values, byteCount));
    }
    EXPECT_TRUE(places.column(2).isPacked);
}

TEST_F(ChunkPackerTest, nodesStayAsTheyAre) {
    encode({2, 1}, 9000);
    std::fill_n(doubles_at(bytesOf(whole), layout.columns[1].values), 18000, 1.0);
    pack();
    ASSERT_TRUE(packed);
    const PackedLayout places = packedLayout();
    EXPECT_EQ(bytesAt(payload, 0, segment_table_offset(layout)),
              bytesAt(whole, 0, segment_table_offset(layout)));
    for (std::size_t k = 0; k < 3; ++k) {
        const ColumnLayout& column = layout.columns[k];
        const std::uint64_t byteCount = column.end - column.levels.front();
        EXPECT_EQ(bytesAt(payload, places.column(k).end, byteCount),
                  bytesAt(whole, column.levels.front(), byteCount));
    }
}

TEST_F(ChunkPackerTest, segmentsFollowEachOtherStepsFirst) {
    encode({2}, 9000);
    double* const values = doubles_at(bytesOf(whole), layout.columns[1].values);
    for (std::size_t s = 0; s < 9000; ++s) {
        values[2 * s] = 1.0;
        values[2 * s + 1] = static_cast<double>(s);
    }
    pack();
    ASSERT_TRUE(packed);
    const PackedLayout places = packedLayout();
    EXPECT_EQ(segments_per_element(layout), 2U);
    EXPECT_EQ(places.column(1).firstSegment, 2U);
    std::string expected;
    std::string segment(packed_byte_count_limit(segmentStepCount), '\0');
    SegmentCodec codec;
    for (std::size_t k = 0; k < 4; ++k) {
        const std::size_t stepCount = k < 2 ? segmentStepCount : 9000 - segmentStepCount;
        const std::size_t first = (k / 2) * segmentStepCount * 2 + k % 2;
        const std::size_t byteCount = codec.pack(values + first, 2, stepCount, segment.data());
        EXPECT_EQ(*places.byteCounts(2 + k), byteCount);
        expected.append(segment, 0, byteCount);
    }
    expected.resize(padded(expected.size()), '\0');
    EXPECT_EQ(bytesAt(payload, places.column(1).values, expected.size()), expected);
    EXPECT_EQ(places.column(1).end, places.column(1).values + expected.size());
}

TEST_F(ChunkPackerTest, layoutFollowsFromTheTable) {
    encode({1, 3}, 20000);
    std::fill_n(doubles_at(bytesOf(whole), layout.columns[1].values), 20000, 1.0);
    pack();
    ASSERT_TRUE(packed);
    EXPECT_EQ(packed->directoryByteCount, packed_directory_byte_count(layout));
    EXPECT_EQ(packed->directoryByteCount % alignment, 0U);
    EXPECT_EQ(packed->byteCount, packedLayout().byteCount());
    EXPECT_LT(packed->byteCount, layout.byteCount);
}

TEST_F(ChunkPackerTest, gapsHoldZeros) {
    encode({1}, 8000);
    std::fill_n(doubles_at(bytesOf(whole), layout.columns[1].values), 8000, 1.0);
    pack();
    ASSERT_TRUE(packed);
    const std::uint64_t tableEnd = segment_table_offset(layout) + 4 * segment_count(layout);
    EXPECT_THAT(bytesAt(payload, tableEnd, packed->directoryByteCount - tableEnd), Each(Eq('\0')));
    const PackedLayout places = packedLayout();
    const ColumnLayout& column = layout.columns[1];
    const std::uint64_t end = places.column(1).end + (column.end - column.levels.front());
    EXPECT_THAT(bytesAt(payload, end, packed->byteCount - end), Each(Eq('\0')));
}

} // namespace
} // namespace logging2::core::detail
