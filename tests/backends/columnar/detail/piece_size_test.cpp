#include <logging2/backends/columnar/detail/Piece.hpp>
#include <logging2/backends/columnar/detail/piece_size.hpp>

#include <tests/backends/columnar/sizes.hpp>

#include <gmock/gmock.h>

namespace logging2::core::detail {
namespace {

TEST(PieceSizeTest, piecesGrowWithTheirGroup) {
    EXPECT_EQ(piece_byte_count(0, 1), kibibyte);
    EXPECT_EQ(piece_byte_count(9 * kibibyte, 1), 10 * kibibyte);
    EXPECT_EQ(piece_byte_count(10 * mebibyte, 1), mebibyte);
    EXPECT_EQ(piece_byte_count(192 * mebibyte, 1), 2 * mebibyte + 2 * kibibyte);
    EXPECT_EQ(piece_byte_count(1024 * mebibyte, 1), 4 * mebibyte);
}

TEST(PieceSizeTest, manyGroupsHaveSmallPieces) {
    EXPECT_EQ(piece_byte_count(0, 100000), kibibyte);
    EXPECT_EQ(piece_byte_count(96 * kibibyte, 100000), 3 * kibibyte);
    EXPECT_EQ(piece_byte_count(mebibyte, 10), mebibyte / 10);
}

TEST(PieceSizeTest, pieceHasAtLeastOneRow) {
    EXPECT_EQ(piece_row_count(kibibyte, 8), 125U);
    EXPECT_EQ(piece_row_count(kibibyte, 100), 10U);
    EXPECT_EQ(piece_row_count(kibibyte, 992), 1U);
    EXPECT_EQ(piece_row_count(kibibyte, mebibyte), 1U);
}

TEST(PieceSizeTest, columnsBeginAnOddNumberOfCacheLinesApart) {
    for (std::size_t rowByteCount = 8; rowByteCount < 8 * kibibyte; rowByteCount += 8) {
        const std::size_t rowCount = piece_row_count(2 * mebibyte, rowByteCount);
        EXPECT_EQ(rowCount % 16, 8U);
        EXPECT_LE(Piece::byteCountOf(rowCount, rowByteCount), 2 * mebibyte);
        EXPECT_GT(Piece::byteCountOf(rowCount + 16, rowByteCount), 2 * mebibyte);
    }
}

} // namespace
} // namespace logging2::core::detail
