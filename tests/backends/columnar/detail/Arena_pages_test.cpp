#include <logging2/backends/columnar/detail/Arena.hpp>

#include <tests/backends/columnar/sizes.hpp>

#include <gmock/gmock.h>

#include <sys/mman.h>

#include <cerrno>
#include <vector>

namespace {

/// For how many bytes each call asked for large pages.
std::vector<std::size_t> largeByteCounts;

} // namespace

/// Replaces madvise of the C library: records the call and refuses it.
extern "C" int madvise(void* /*first*/, std::size_t byteCount, int what) noexcept {
    if (what == MADV_HUGEPAGE) {
        largeByteCounts.push_back(byteCount);
    }
    errno = EINVAL;
    return -1;
}

namespace logging2::core::detail {
namespace {

TEST(ArenaPagesTest, onlyLargeChunksAskForLargePages) {
    const Arena::Owner arena = Arena::make();
    std::vector<Block> blocks;
    std::size_t byteCount = 0;
    for (; byteCount < mebibyte; byteCount += blocks.back().byteCount) {
        blocks.push_back(arena->take(64, mebibyte / 16));
    }
    EXPECT_THAT(largeByteCounts, ::testing::IsEmpty());
    for (; byteCount < 32 * mebibyte; byteCount += blocks.back().byteCount) {
        blocks.push_back(arena->take(64, mebibyte));
    }
    EXPECT_GE(largeByteCounts.size(), 5U);
    EXPECT_THAT(largeByteCounts, ::testing::Each(4 * mebibyte));
    for (const Block& block : blocks) {
        Arena::giveBack(block);
    }
}

} // namespace
} // namespace logging2::core::detail
