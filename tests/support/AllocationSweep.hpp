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

/// The result of one run of a sweep.
struct Attempt {
    /// How many allocations succeeded before the one that failed.
    std::size_t before;
    /// Whether an allocation failed. One fails in every run except the last.
    bool failed;
    /// Whether the operation threw.
    bool threw;
};

/// The result of a sweep over an operation.
struct SweepCounts {
    /// Allocations that were made to fail in turn; these are all allocations of the operation.
    std::size_t failed = 0;
    /// Failures that propagated, each as the same object that operator new had thrown.
    std::size_t thrown = 0;

    /// Failures that the operation handled itself.
    std::size_t absorbed() const { return failed - thrown; }
};

/// Calls the operation and makes the allocation after `before` others fail.
template <class Operation>
Attempt attempt_with_failure(std::size_t before, Operation operation) {
    bool threw = true;
    const AllocationFailure failure(before);
    try {
        operation();
        threw = false;
    } catch (const std::bad_alloc& error) {
        EXPECT_TRUE(RefusedAllocation::isLast(error)) << "not the object that operator new threw";
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

/// Makes the first, the second and every further allocation of `act` fail in turn, until a run
/// requests no more.
///
/// Each run calls `act` on a subject that `arrange` made, and then `check` on the subject and the
/// Attempt. Everything that the run allocated must be freed with the subject. The first run has no
/// failure, so that allocations that live as long as the process already exist.
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
        EXPECT_EQ(live_allocation_count(), formerCount) << "memory leaked";
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

/// Runs the sweep over an operation from which every failure must propagate. The outcome describes
/// in the table what `check` verifies.
template <class Arrange, class Act, class Check>
SweepCounts expect_every_failure_propagates(const std::string& operation,
                                            const std::string& outcome, Arrange arrange, Act act,
                                            Check check) {
    const SweepCounts counts = for_every_failing_allocation(arrange, act, check);
    EXPECT_EQ(counts.absorbed(), 0U);
    print_sweep(operation, counts, outcome);
    return counts;
}

/// Runs the sweep over an operation that promises not to throw because it allocates nothing.
template <class Arrange, class Act>
void expect_no_allocation(const std::string& operation, Arrange arrange, Act act) {
    const SweepCounts counts = for_every_failing_allocation(arrange, act, [](auto&, Attempt) {});
    EXPECT_EQ(counts.failed, 0U);
    print_sweep(operation, counts, "allocates nothing");
}

} // namespace logging2::core::test
