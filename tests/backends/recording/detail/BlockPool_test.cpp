#include <logging2/backends/recording/detail/BlockPool.hpp>

#include <gmock/gmock.h>

#include <utility>

namespace logging2::core::detail {
namespace {

constexpr std::size_t byteCount(std::size_t elementCount) {
    return elementCount * sizeof(double);
}

TEST(BlockPoolTest, blockHasTheElementsThatWereAskedFor) {
    BlockPool pool(byteCount(10));
    const Block block = pool.take(10);
    ASSERT_TRUE(block.elements);
    EXPECT_EQ(block.elementCount, 10U);
    block.elements[9] = 1.0;
}

TEST(BlockPoolTest, limitHoldsForAllBlocksTogether) {
    BlockPool pool(byteCount(10));
    const Block first = pool.take(6);
    EXPECT_FALSE(pool.take(5).elements);
    EXPECT_TRUE(pool.take(4).elements);
}

TEST(BlockPoolTest, blockThatComesBackIsGivenOutAgain) {
    BlockPool pool(byteCount(10));
    Block block = pool.take(10);
    const double* const place = block.elements.get();
    pool.giveBack(std::move(block));
    const Block again = pool.take(10);
    EXPECT_EQ(again.elements.get(), place);
}

TEST(BlockPoolTest, spareBlocksMakeRoomForOtherSizes) {
    BlockPool pool(byteCount(10));
    Block small = pool.take(3);
    Block other = pool.take(7);
    pool.giveBack(std::move(small));
    pool.giveBack(std::move(other));
    EXPECT_TRUE(pool.take(10).elements);
}

TEST(BlockPoolTest, blocksInUseKeepTheirRoom) {
    BlockPool pool(byteCount(10));
    Block spare = pool.take(3);
    const Block used = pool.take(7);
    pool.giveBack(std::move(spare));
    EXPECT_FALSE(pool.take(4).elements);
    EXPECT_TRUE(pool.take(3).elements);
}

TEST(BlockPoolTest, givingBackNoBlockDoesNothing) {
    BlockPool pool(byteCount(10));
    pool.giveBack(Block());
    EXPECT_TRUE(pool.take(10).elements);
}

} // namespace
} // namespace logging2::core::detail
