#pragma once

#include <tests/allocation/ChildProcess.hpp>
#include <tests/allocation/native_subjects.hpp>

#include <string>

namespace logging2::core::test {

using FirstCallsSweepTest = NativeSweepTest;

/// The result of a process's first call of an operation.
struct FirstCall {
    Attempt attempt{};
    std::size_t liveCount = 0;
};

/// Makes the first call with a failure and then a second call, which must succeed.
template <class Act>
FirstCall first_call(std::size_t before, Act act) {
    const Shared<FirstCall> call;
    const int status = status_of_child([&] {
        const std::size_t formerCount = live_allocation_count();
        call->attempt = attempt_with_failure(before, act);
        EXPECT_NO_THROW(act());
        call->liveCount = live_allocation_count() - formerCount;
    });
    EXPECT_TRUE(exitedWithSuccess(status)) << status;
    return *call;
}

/// Sweeps over the first call. The process must keep as many allocations after a failure as it
/// keeps without one.
template <class Act>
SweepCounts sweep_first_call(const std::string& operation, const std::string& outcome, Act act) {
    const std::size_t liveCount = first_call(100000, act).liveCount;
    SweepCounts counts;
    for (bool failed = true; failed && counts.failed < 1000;) {
        SCOPED_TRACE("failing allocation " + std::to_string(counts.failed));
        const FirstCall call = first_call(counts.failed, act);
        EXPECT_EQ(call.liveCount, liveCount) << "memory leaked, or an object was not kept";
        failed = call.attempt.failed;
        counts.failed += call.attempt.failed ? 1 : 0;
        counts.thrown += call.attempt.threw ? 1 : 0;
    }
    print_sweep(operation + ", first call", counts, outcome);
    return counts;
}

template <class Act>
void expect_every_first_failure_propagates(const std::string& operation, Act act) {
    const SweepCounts counts = sweep_first_call(operation, "the next call succeeds", act);
    EXPECT_GT(counts.failed, 0U);
    EXPECT_EQ(counts.absorbed(), 0U);
}

} // namespace logging2::core::test
