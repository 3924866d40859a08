#include <tests/support/AllocationCounter.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t recordedSizes = 4096;
constexpr std::size_t largestRequest = std::size_t{1} << 40U;

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
};

thread_local Tally tally;
thread_local Failure failure;
std::atomic<std::size_t> liveCount{0};

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
    if (!failure.active || failure.happened) {
        return false;
    }
    failure.happened = failure.before == 0;
    failure.before -= failure.happened ? 0 : 1;
    return failure.happened;
}

void* allocate(std::size_t bytes) {
    if (bytes > largestRequest || is_to_fail()) {
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(bytes == 0 ? 1 : bytes);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    record(bytes);
    ++liveCount;
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
    return allocate(bytes);
}
void* operator new[](std::size_t bytes) {
    return allocate(bytes);
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

namespace logging2::core::test {

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

AllocationFailure::AllocationFailure(std::size_t before) {
    failure = Failure{true, false, before};
}

AllocationFailure::~AllocationFailure() {
    failure.active = false;
}

bool AllocationFailure::happened() const {
    return failure.happened;
}

std::size_t live_allocation_count() {
    return liveCount;
}

} // namespace logging2::core::test
