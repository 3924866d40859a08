#pragma once

#include <tests/support/AllocationCounter.hpp>

#include <gmock/gmock.h>

#include <cstddef>
#include <exception>
#include <iomanip>
#include <iostream>
#include <new>
#include <string>

namespace logging2::core::test {

/// How the operation went in one run of a sweep.
struct Attempt {
    /// How many allocations succeeded before the one that failed.
    std::size_t before;
    /// Whether an allocation failed; it does in all runs but the last.
    bool failed;
    /// Whether the operation threw.
    bool threw;
};

/// What a sweep found out about an operation.
struct SweepCounts {
    /// Allocations that were failed in turn, which are all that the operation asks for.
    std::size_t failed = 0;
    /// Failures that came out, each as the very object that operator new had thrown.
    std::size_t thrown = 0;

    /// Failures after which the operation did without the memory.
    std::size_t absorbed() const { return failed - thrown; }
};

/// Calls the operation while its allocation behind `before` others fails.
template <class Operation>
Attempt attempt_with_failure(std::size_t before, Operation operation) {
    bool threw = true;
    const AllocationFailure failure(before);
    try {
        operation();
        threw = false;
    } catch (const std::bad_alloc& error) {
        EXPECT_TRUE(RefusedAllocation::isLast(error)) << "another object than the one thrown";
    } catch (const std::exception& error) {
        ADD_FAILURE() << "thrown instead of the allocation error: " << error.what();
    }
    return {before, failure.happened(), threw};
}

/// One line per sweep, for a table.
inline void print_sweep(const std::string& operation, const SweepCounts& counts,
                        const std::string& outcome) {
    std::cout << "allocation sweep | " << operation << " | " << counts.failed << " | "
              << counts.thrown << " | " << counts.absorbed() << " | " << outcome << std::endl;
}

/// Fails the first, the second and so on allocation of `act` in turn, until a run asks for no more.
///
/// Each run calls `act` on a subject that `arrange` made, and then `check` on the subject and the
/// Attempt; everything that the run allocated must be gone with the subject. One run without a
/// failure goes first, so that what stays for the life of the process is there.
template <class Arrange, class Act, class Check>
SweepCounts for_every_failing_allocation(Arrange arrange, Act act, Check check) {
    constexpr std::size_t noFailure = 100000;
    SweepCounts counts;
    const auto run = [&](std::size_t before) {
        const std::size_t formerCount = live_allocation_count();
        Attempt attempt{};
        {
            auto subject = arrange();
            attempt = attempt_with_failure(before, [&] { act(subject); });
            check(subject, attempt);
        }
        EXPECT_EQ(live_allocation_count(), formerCount) << "a leak";
        return attempt;
    };
    {
        auto subject = arrange();
        act(subject);
        check(subject, Attempt{noFailure, false, false});
    }
    for (bool failed = true; failed && counts.failed < noFailure;) {
        SCOPED_TRACE("failing allocation " + std::to_string(counts.failed));
        const Attempt attempt = run(counts.failed);
        failed = attempt.failed;
        counts.failed += attempt.failed ? 1 : 0;
        counts.thrown += attempt.threw ? 1 : 0;
        EXPECT_TRUE(failed || !attempt.threw);
    }
    return counts;
}

/// The same for an operation that must let every failure out; the outcome says in the table what
/// `check` looks at.
template <class Arrange, class Act, class Check>
SweepCounts expect_every_failure_comes_out(const std::string& operation, const std::string& outcome,
                                           Arrange arrange, Act act, Check check) {
    const SweepCounts counts = for_every_failing_allocation(arrange, act, check);
    EXPECT_EQ(counts.absorbed(), 0U);
    print_sweep(operation, counts, outcome);
    return counts;
}

/// The same for an operation that promises not to throw because it asks for no memory.
template <class Arrange, class Act>
void expect_no_allocation(const std::string& operation, Arrange arrange, Act act) {
    const SweepCounts counts = for_every_failing_allocation(arrange, act, [](auto&, Attempt) {});
    EXPECT_EQ(counts.failed, 0U);
    print_sweep(operation, counts, "asks for no memory");
}

} // namespace logging2::core::test
