#pragma once

#include <cstddef>
#include <new>

namespace logging2::core::test {

/// Counts the calls of operator new on the calling thread while the object lives. Linking its
/// source file replaces operator new and delete in the whole process, in all their forms (arrays,
/// nothrow, aligned), so use it in a separate executable.
///
/// Memory that does not come from operator new is not counted: exception objects, buffers of the C
/// library, and the stacks of threads.
///
/// The replaced operator new refuses more than 2^40 bytes with std::bad_alloc, as the system does
/// on a machine without that memory. It does so even if a sanitizer would end the process.
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

    /// Allocations of exactly that many bytes since the counter was made. Only the first 4096
    /// allocations are examined.
    std::size_t countOfSize(std::size_t bytes) const;
};

/// The exception that the replaced operator new throws. Each thread remembers the last one.
class RefusedAllocation : public std::bad_alloc {
public:
    RefusedAllocation() noexcept;

    /// Whether the error is the same object that was thrown last on this thread.
    static bool isLast(const std::bad_alloc& error) noexcept;
};

/// Makes allocations of the calling thread fail while the object lives: `count` in a row after
/// `before` successful ones. They throw a RefusedAllocation; the nothrow forms return null.
class AllocationFailure {
public:
    explicit AllocationFailure(std::size_t before, std::size_t count = 1);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /// Whether one of these allocations was requested.
    bool happened() const;
};

/// The same for one allocation of the other threads together.
class AllocationFailureElsewhere {
public:
    explicit AllocationFailureElsewhere(std::size_t before);
    ~AllocationFailureElsewhere();
    AllocationFailureElsewhere(const AllocationFailureElsewhere&) = delete;
    AllocationFailureElsewhere& operator=(const AllocationFailureElsewhere&) = delete;

    /// Whether that allocation was requested.
    bool happened() const;
};

/// Allocations of this process that have not been freed.
std::size_t live_allocation_count();

} // namespace logging2::core::test
