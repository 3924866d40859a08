#include <tests/support/AllocationSweep.hpp>

#include <cstdint>
#include <memory>
#include <type_traits>

// Tests that the sweep covers every form of operator new and reports what happens after a failure.

namespace logging2::core::test {
namespace {

struct alignas(64) Wide {
    double values[8];
};

void* volatile lastKept = nullptr;

/// Keeps the compiler from removing a pair of new and delete.
template <class Value>
std::unique_ptr<Value> kept(std::remove_extent_t<Value>* value) {
    lastKept = value;
    return std::unique_ptr<Value>(value);
}

SweepCounts sweep(void (*act)()) {
    return for_every_failing_allocation([] { return 0; }, [act](int) { act(); },
                                        [](int, Attempt) {});
}

TEST(AllocationSweepTest, everyThrowingFormFailsOnce) {
    const SweepCounts counts = sweep([] {
        const auto one = kept<int>(new int);
        const auto many = kept<int[]>(new int[3]);
        const auto wide = kept<Wide>(new Wide);
        const auto wides = kept<Wide[]>(new Wide[3]);
    });
    EXPECT_EQ(counts.failed, 4U);
    EXPECT_EQ(counts.thrown, 4U);
}

TEST(AllocationSweepTest, everyNothrowFormReturnsNullOnce) {
    const SweepCounts counts = sweep([] {
        const auto one = kept<int>(new (std::nothrow) int);
        const auto many = kept<int[]>(new (std::nothrow) int[3]);
        const auto wide = kept<Wide>(new (std::nothrow) Wide);
        const auto wides = kept<Wide[]>(new (std::nothrow) Wide[3]);
    });
    EXPECT_EQ(counts.failed, 4U);
    EXPECT_EQ(counts.absorbed(), 4U);
}

TEST(AllocationSweepTest, allocationsAreCountedUntilTheyAreFreed) {
    const std::size_t before = live_allocation_count();
    const auto wide = kept<Wide>(new Wide);
    auto text = kept<char[]>(new (std::nothrow) char[100]);
    EXPECT_EQ(live_allocation_count(), before + 2);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide.get()) % alignof(Wide), 0U);
    text.reset();
    EXPECT_EQ(live_allocation_count(), before + 1);
}

TEST(AllocationSweepTest, onlyTheThrownObjectIsTheLastRefusal) {
    std::bad_alloc other;
    try {
        const AllocationFailure failure(0);
        const auto lost = kept<int>(new int);
        FAIL();
    } catch (const std::bad_alloc& error) {
        EXPECT_TRUE(RefusedAllocation::isLast(error));
        EXPECT_FALSE(RefusedAllocation::isLast(other));
    }
}

} // namespace
} // namespace logging2::core::test
