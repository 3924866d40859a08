#include <logging2/columns/storage.hpp>

#include <gmock/gmock.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>

namespace {

struct Advice {
    std::uintptr_t first;
    std::size_t byteCount;
    int what;
};

std::vector<Advice> advices;

} // namespace

/// Replaces madvise of the C library: records the call and refuses it. A refusal must change
/// nothing.
extern "C" int madvise(void* first, std::size_t byteCount, int what) noexcept {
    advices.push_back({reinterpret_cast<std::uintptr_t>(first), byteCount, what});
    errno = EINVAL;
    return -1;
}

namespace logging2::core::detail {
namespace {

using Doubles = std::vector<double>;

constexpr std::size_t largeCount = std::size_t{1} << 20; // 8 MiB

Doubles counted(std::size_t count) {
    Doubles result;
    for (std::size_t i = 0; i < count; ++i) {
        result.push_back(static_cast<double>(i) + 0.5);
    }
    return result;
}

TEST(StorageTest, reserveGivesTheExactCapacityAndKeepsTheElements) {
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{1000}, largeCount}) {
        Doubles elements = counted(7);
        elements.shrink_to_fit();
        reserve_large(elements, count);
        EXPECT_EQ(elements.capacity(), std::max<std::size_t>(7, count));
        EXPECT_EQ(elements, counted(7));
    }
}

TEST(StorageTest, impossibleCapacityThrowsLengthErrorAndChangesNothing) {
    Doubles elements = counted(7);
    const double* const first = elements.data();
    EXPECT_THROW(reserve_large(elements, elements.max_size() + 1), std::length_error);
    EXPECT_EQ(elements.data(), first);
    EXPECT_EQ(elements, counted(7));
}

TEST(StorageTest, reservingLessMovesNothing) {
    Doubles elements = counted(largeCount);
    const double* const first = elements.data();
    reserve_large(elements, largeCount / 2);
    EXPECT_EQ(elements.data(), first);
    EXPECT_EQ(elements.size(), largeCount);
}

TEST(StorageTest, sufficientCapacityIsLeftAlone) {
    Doubles elements;
    elements.reserve(10);
    elements.resize(4);
    make_room(elements, 6);
    EXPECT_EQ(elements.capacity(), 10U);
}

TEST(StorageTest, capacityDoubles) {
    for (const std::size_t count : {std::size_t{10}, largeCount}) {
        Doubles elements = counted(count);
        elements.shrink_to_fit();
        make_room(elements, 1);
        EXPECT_EQ(elements.capacity(), 2 * count);
        EXPECT_EQ(elements, counted(count));
    }
}

TEST(StorageTest, capacityIsExactIfDoublingIsNotEnough) {
    Doubles elements = counted(10);
    elements.shrink_to_fit();
    make_room(elements, 100);
    EXPECT_EQ(elements.capacity(), 110U);
}

TEST(StorageTest, largeStorageCanBeWrittenToItsEnd) {
    Doubles elements;
    reserve_large(elements, largeCount + 3);
    elements.resize(largeCount + 3, 2.5);
    EXPECT_EQ(elements.back(), 2.5);
    EXPECT_THAT(elements, ::testing::Each(2.5));
}

TEST(StorageTest, largeStorageRequestsHugePagesForItsWholePages) {
    Doubles elements;
    advices.clear();
    reserve_large(elements, largeCount + 3);
    ASSERT_EQ(advices.size(), 1U);
    const auto pageByteCount = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const auto first = reinterpret_cast<std::uintptr_t>(elements.data());
    const std::uintptr_t end = first + (largeCount + 3) * sizeof(double);
    const auto [firstPage, byteCount, what] = advices[0];
    EXPECT_EQ(what, MADV_HUGEPAGE);
    EXPECT_EQ(firstPage % pageByteCount, 0U);
    EXPECT_EQ(byteCount % pageByteCount, 0U);
    EXPECT_GE(firstPage, first);
    EXPECT_LT(firstPage - first, pageByteCount);
    EXPECT_LE(firstPage + byteCount, end);
    EXPECT_LT(end - (firstPage + byteCount), pageByteCount);
}

TEST(StorageTest, largeArrayConsistsOfHugePages) {
    constexpr std::size_t hugePageByteCount = std::size_t{2} << 20;
    advices.clear();
    const std::shared_ptr<double[]> elements = make_large_array(largeCount + 3);
    ASSERT_EQ(advices.size(), 1U);
    EXPECT_EQ(advices[0].what, MADV_HUGEPAGE);
    EXPECT_EQ(advices[0].first, reinterpret_cast<std::uintptr_t>(elements.get()));
    EXPECT_EQ(advices[0].first % hugePageByteCount, 0U);
    EXPECT_GE(advices[0].byteCount, largeCount * sizeof(double));
    EXPECT_LE(advices[0].byteCount, (largeCount + 3) * sizeof(double));
    elements[largeCount + 2] = 2.5;
    EXPECT_EQ(elements[largeCount + 2], 2.5);
}

TEST(StorageTest, smallArrayRequestsNoHugePages) {
    advices.clear();
    const std::shared_ptr<double[]> elements = make_large_array(largeCount / 2 - 1);
    EXPECT_TRUE(advices.empty());
    elements[largeCount / 2 - 2] = 2.5;
    EXPECT_EQ(elements[largeCount / 2 - 2], 2.5);
    EXPECT_NE(make_large_array(0), nullptr);
}

TEST(StorageTest, smallStorageRequestsNoHugePages) {
    Doubles elements;
    advices.clear();
    reserve_large(elements, largeCount / 2 - 1);
    EXPECT_TRUE(advices.empty());
    reserve_large(elements, largeCount / 2);
    EXPECT_EQ(advices.size(), 1U);
}

} // namespace
} // namespace logging2::core::detail
