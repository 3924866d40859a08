#include <logging2/backends/columnar/detail/Arena.hpp>

#include <tests/backends/columnar/sizes.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace logging2::core::detail {
namespace {

TEST(ArenaTest, blocksAreAlignedAndRoundedUp) {
    const Arena::Owner arena = Arena::make();
    for (const std::size_t byteCount : {std::size_t{1}, std::size_t{64}, 5 * mebibyte + 1}) {
        const Block block = arena->take(1, byteCount);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.first) % Arena::unit, 0U);
        EXPECT_EQ(block.byteCount, (byteCount + 31) / 32 * 32);
        std::memset(block.first, 1, block.byteCount);
        Arena::giveBack(block);
    }
}

TEST(ArenaTest, blockThatWasGivenBackIsUsedAgain) {
    const Arena::Owner arena = Arena::make();
    const Block other = arena->take(1, 1000);
    const Block block = arena->take(1, 1000);
    const Block last = arena->take(1, 1000);
    Arena::giveBack(block);
    const Block again = arena->take(1, 1000);
    EXPECT_EQ(again.first, block.first);
    for (const Block& each : {other, again, last}) {
        Arena::giveBack(each);
    }
}

TEST(ArenaTest, partOfALargerFreeBlockIsUsed) {
    const Arena::Owner arena = Arena::make();
    const Block large = arena->take(1, 8 * kibibyte);
    const Block last = arena->take(1, 64);
    Arena::giveBack(large);
    const Block first = arena->take(1, 1 * kibibyte);
    const Block second = arena->take(1, 7 * kibibyte);
    EXPECT_EQ(first.first, large.first);
    EXPECT_EQ(second.first, large.first + kibibyte);
    for (const Block& each : {first, second, last}) {
        Arena::giveBack(each);
    }
}

TEST(ArenaTest, shrunkBlockLeavesTheRestToTheNextOne) {
    const Arena::Owner arena = Arena::make();
    Block block = arena->take(1, 4 * kibibyte);
    Arena::shrink(block, 1 * kibibyte);
    EXPECT_EQ(block.byteCount, kibibyte);
    const Block next = arena->take(1, 1 * kibibyte);
    EXPECT_EQ(next.first, block.first + kibibyte);
    Arena::shrink(block, 100);
    const Block small = arena->take(1, 100);
    EXPECT_EQ(small.first, block.first + 128);
    for (const Block& each : {block, next, small}) {
        Arena::giveBack(each);
    }
}

TEST(ArenaTest, endOfAChunkBecomesASmallerBlock) {
    const Arena::Owner arena = Arena::make();
    const Block first = arena->take(1, 60 * kibibyte);
    const Block second = arena->take(1 * kibibyte, 32 * kibibyte);
    EXPECT_EQ(second.first, first.first + first.byteCount);
    EXPECT_EQ(second.byteCount, 4 * kibibyte);
    Arena::giveBack(first);
    Arena::giveBack(second);
}

/// Takes so many blocks of this size.
std::vector<Block> takeEach(Arena& arena, std::size_t count, std::size_t least,
                            std::size_t byteCount) {
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < count; ++i) {
        blocks.push_back(arena.take(least, byteCount));
    }
    return blocks;
}

TEST(ArenaTest, chunkHoldsAWholeNumberOfLargeBlocks) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 6 * mebibyte);
    constexpr std::size_t byteCount = 192 * kibibyte;
    const std::vector<Block> blocks = takeEach(*arena, 32, byteCount, byteCount); // 6 MiB
    EXPECT_EQ(blocks[31].first, blocks[0].first + 31 * byteCount);
    Arena::giveBack(former);
    std::for_each(blocks.begin(), blocks.end(), Arena::giveBack);
}

TEST(ArenaTest, blockForVeryWideRowsHasItsOwnChunk) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 4 * mebibyte);
    const Block wide = arena->take(mebibyte, 3 * mebibyte / 2);
    EXPECT_EQ(wide.byteCount, 3 * mebibyte / 2);
    EXPECT_EQ(wide.chunk->byteCount, wide.byteCount);
    Arena::giveBack(former);
    Arena::giveBack(wide);
}

TEST(ArenaTest, chunksForSmallBlocksAreWholeLargePages) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 4 * mebibyte);
    std::vector<Block> blocks;
    for (int i = 0; i < 3; ++i) {
        blocks.push_back(arena->take(kibibyte, 3 * mebibyte / 2));
    }
    EXPECT_EQ(blocks[2].first, blocks[0].first + 3 * mebibyte);
    EXPECT_EQ(blocks[2].byteCount, mebibyte); // the end of the chunk
    Arena::giveBack(former);
    std::for_each(blocks.begin(), blocks.end(), Arena::giveBack);
}

TEST(ArenaTest, chunkOfLargePagesIsLongEnoughForLargeBlocks) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 4 * mebibyte);
    // Chunks of 4 MiB would have a rest of 2.3 %.
    constexpr std::size_t byteCount = 102432;
    const std::vector<Block> blocks = takeEach(*arena, 61, byteCount, byteCount);
    EXPECT_EQ(blocks[60].first, blocks[0].first + 60 * byteCount);
    Arena::giveBack(former);
    std::for_each(blocks.begin(), blocks.end(), Arena::giveBack);
}

TEST(ArenaTest, smallerFreeBlockIsUsedBeforeANewChunk) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 4 * mebibyte);
    std::vector<Block> blocks = takeEach(*arena, 4, kibibyte, mebibyte);
    Arena::giveBack(blocks[1]);
    const std::byte* const expected = blocks[1].first;
    blocks[1] = arena->take(100 * kibibyte, 2 * mebibyte);
    EXPECT_EQ(blocks[1].first, expected);
    EXPECT_EQ(blocks[1].byteCount, mebibyte);
    Arena::giveBack(former);
    std::for_each(blocks.begin(), blocks.end(), Arena::giveBack);
}

TEST(ArenaTest, freeBlocksThatLieSideBySideAreMerged) {
    const Arena::Owner arena = Arena::make();
    const Block former = arena->take(1, 4 * mebibyte);
    const std::vector<Block> blocks = takeEach(*arena, 8, kibibyte, mebibyte); // in two chunks
    for (const std::size_t each : {0U, 1U, 2U, 4U, 5U, 6U}) {
        Arena::giveBack(blocks[each]);
    }
    const std::vector<Block> merged{arena->take(3 * mebibyte, 3 * mebibyte),
                                    arena->take(3 * mebibyte, 3 * mebibyte)};
    EXPECT_EQ(std::min(merged[0].first, merged[1].first),
              std::min(blocks[0].first, blocks[4].first));
    EXPECT_EQ(std::max(merged[0].first, merged[1].first),
              std::max(blocks[0].first, blocks[4].first));
    std::for_each(merged.begin(), merged.end(), Arena::giveBack);
    for (const Block& each : {former, blocks[3], blocks[7]}) {
        Arena::giveBack(each);
    }
}

TEST(ArenaTest, freeChunkIsUsedFromItsBeginning) {
    const Arena::Owner arena = Arena::make();
    const Block first = arena->take(1, 10 * kibibyte);
    const Block second = arena->take(1, 10 * kibibyte);
    Arena::giveBack(first);
    Arena::giveBack(second);
    const Block whole = arena->take(1, 60 * kibibyte);
    EXPECT_EQ(whole.first, first.first);
    Arena::giveBack(whole);
}

TEST(ArenaTest, blocksMayOutliveTheOwner) {
    Arena::Owner arena = Arena::make();
    const Block first = arena->take(1, 5 * mebibyte);
    const Block second = arena->take(1, 10);
    arena.reset();
    std::memset(first.first, 1, first.byteCount);
    Arena::giveBack(first);
    std::memset(second.first, 1, second.byteCount);
    Arena::giveBack(second);
}

TEST(ArenaTest, impossibleSizesAreRefused) {
    const Arena::Owner arena = Arena::make();
    EXPECT_THROW(arena->take(SIZE_MAX, SIZE_MAX), std::bad_alloc);
}

/// A block and the byte that fills it.
struct Filled {
    Block block;
    unsigned char byte;

    bool isIntact() const {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(block.first);
        return std::all_of(bytes, bytes + block.byteCount,
                           [this](unsigned char each) { return each == byte; });
    }
};

TEST(ArenaTest, randomBlocksNeverOverlap) {
    std::mt19937 random(1);
    const Arena::Owner arena = Arena::make();
    std::vector<Filled> held;
    for (int i = 0; i < 20000; ++i) {
        if (held.empty() || random() % 100 < (i / 1000 % 2 == 0 ? 60U : 40U)) {
            const std::size_t wanted = 1 + random() % (random() % 20 == 0 ? 200 * kibibyte : 5000);
            Block block = arena->take(std::min<std::size_t>(wanted, 100), wanted);
            if (random() % 4 == 0) {
                Arena::shrink(block, block.byteCount / 2);
            }
            held.push_back({block, static_cast<unsigned char>(random())});
            std::memset(block.first, held.back().byte, block.byteCount);
        } else {
            std::swap(held[random() % held.size()], held.back());
            ASSERT_TRUE(held.back().isIntact());
            Arena::giveBack(held.back().block);
            held.pop_back();
        }
    }
    for (const Filled& each : held) {
        ASSERT_TRUE(each.isIntact());
        Arena::giveBack(each.block);
    }
}

} // namespace
} // namespace logging2::core::detail
