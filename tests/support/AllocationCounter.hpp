#pragma once

#include <cstddef>
#include <new>

namespace logging2::core::test {

/// Counts what the calling thread asks of operator new while the object lives. Linking its source
/// file replaces the process's operator new and delete in all their forms (arrays, nothrow,
/// aligned); an executable of its own is best.
///
/// What never comes by operator new is not seen: exception objects, the C library's own buffers,
/// the stacks of threads.
///
/// The replaced operator new refuses more than 2^40 bytes with std::bad_alloc, as the system's
/// does on a machine without that memory, also where a sanitizer would end the process instead.
class AllocationCounter {
public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    /// Allocations since the counter was made.
    std::size_t count() const;

    /// Bytes asked for since the counter was made.
    std::size_t byteCount() const;

    /// Allocations of exactly that many bytes since the counter was made; the first 4096
    /// allocations are looked at.
    std::size_t countOfSize(std::size_t bytes) const;
};

/// What the replaced operator new throws; the calling thread knows its last one again.
class RefusedAllocation : public std::bad_alloc {
public:
    RefusedAllocation() noexcept;

    /// Whether the error is the very object that was thrown last on this thread.
    static bool isLast(const std::bad_alloc& error) noexcept;
};

/// Lets one allocation of the calling thread fail with a RefusedAllocation (a null pointer from
/// the nothrow forms) while the object lives: the one that follows `before` others.
class AllocationFailure {
public:
    explicit AllocationFailure(std::size_t before);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /// Whether that allocation was asked for.
    bool happened() const;
};

/// Allocations of this process that have not been freed.
std::size_t live_allocation_count();

} // namespace logging2::core::test
