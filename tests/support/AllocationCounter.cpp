#include <tests/support/AllocationCounter.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t recordedSizes = 4096;
constexpr std::size_t largestRequest = std::size_t{1} << 40U;
constexpr std::size_t defaultAlignment = alignof(std::max_align_t);

struct Tally {
    bool active = false;
    std::size_t count = 0;
    std::size_t byteCount = 0;
    std::size_t sizes[recordedSizes] = {};
};

struct Failure {
    bool active = false;
    bool happened = false;
    std::size_t before = 0;
    std::size_t left = 0;
};

thread_local Tally tally;
thread_local Failure failure;
thread_local const logging2::core::test::RefusedAllocation* lastRefusal = nullptr;
std::atomic<std::size_t> liveCount{0};

/// How many allocations of threads that do not plan the failure come before it, and 1; not positive
/// behind it.
std::atomic<std::ptrdiff_t> leftElsewhere{0};
std::atomic<bool> isPlannedElsewhere{false};
thread_local bool plansElsewhere = false;

void record(std::size_t bytes) {
    if (!tally.active) {
        return;
    }
    if (tally.count < recordedSizes) {
        tally.sizes[tally.count] = bytes;
    }
    ++tally.count;
    tally.byteCount += bytes;
}

bool is_to_fail() {
    if (isPlannedElsewhere && !plansElsewhere) {
        return --leftElsewhere == 0;
    }
    if (!failure.active || failure.left == 0) {
        return false;
    }
    if (failure.before > 0) {
        --failure.before;
        return false;
    }
    failure.happened = true;
    --failure.left;
    return true;
}

/// Returns null if there is no memory or the allocation is to fail.
void* obtain(std::size_t bytes, std::size_t alignment) noexcept {
    if (bytes > largestRequest || is_to_fail()) {
        return nullptr;
    }
    const std::size_t size = (std::max(bytes, std::size_t{1}) + alignment - 1) & ~(alignment - 1);
    void* const memory =
        alignment > defaultAlignment ? std::aligned_alloc(alignment, size) : std::malloc(size);
    if (memory != nullptr) {
        record(bytes);
        ++liveCount;
    }
    return memory;
}

void* allocate(std::size_t bytes, std::size_t alignment) {
    void* const memory = obtain(bytes, alignment);
    if (memory == nullptr) {
        throw logging2::core::test::RefusedAllocation();
    }
    return memory;
}

void release(void* memory) noexcept {
    if (memory != nullptr) {
        --liveCount;
        std::free(memory);
    }
}

} // namespace

void* operator new(std::size_t bytes) {
    return allocate(bytes, 1);
}
void* operator new[](std::size_t bytes) {
    return allocate(bytes, 1);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return obtain(bytes, 1);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return obtain(bytes, 1);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return allocate(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return allocate(bytes, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return obtain(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment,
                     const std::nothrow_t&) noexcept {
    return obtain(bytes, static_cast<std::size_t>(alignment));
}

void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}

namespace logging2::core::test {

RefusedAllocation::RefusedAllocation() noexcept {
    lastRefusal = this;
}

bool RefusedAllocation::isLast(const std::bad_alloc& error) noexcept {
    return dynamic_cast<const RefusedAllocation*>(&error) == lastRefusal;
}

AllocationCounter::AllocationCounter() {
    tally = Tally();
    tally.active = true;
}

AllocationCounter::~AllocationCounter() {
    tally.active = false;
}

std::size_t AllocationCounter::count() const {
    return tally.count;
}

std::size_t AllocationCounter::byteCount() const {
    return tally.byteCount;
}

std::size_t AllocationCounter::countOfSize(std::size_t bytes) const {
    const std::size_t* const end = tally.sizes + std::min(tally.count, recordedSizes);
    return static_cast<std::size_t>(
        std::count(static_cast<const std::size_t*>(tally.sizes), end, bytes));
}

AllocationFailure::AllocationFailure(std::size_t before, std::size_t count) {
    failure = Failure{true, false, before, count};
}

AllocationFailure::~AllocationFailure() {
    failure.active = false;
}

bool AllocationFailure::happened() const {
    return failure.happened;
}

AllocationFailureElsewhere::AllocationFailureElsewhere(std::size_t before) {
    plansElsewhere = true;
    leftElsewhere = static_cast<std::ptrdiff_t>(before) + 1;
    isPlannedElsewhere = true;
}

AllocationFailureElsewhere::~AllocationFailureElsewhere() {
    isPlannedElsewhere = false;
    plansElsewhere = false;
}

bool AllocationFailureElsewhere::happened() const {
    return leftElsewhere <= 0;
}

std::size_t live_allocation_count() {
    return liveCount;
}

} // namespace logging2::core::test
