#include <logging2/conformance/detail/Promise.hpp>
#include <tests/conformance/mutants/Mutant.hpp>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

// Tests that the suite can fail: each promise finds a back-end that breaks it.

namespace logging2::core::conformance {
namespace {

std::vector<Mutant> mutants() {
    std::vector<Mutant> all;
    for (const auto mutantsOf :
         {mutants_of_writing, mutants_of_ending, mutants_of_rollback, mutants_of_deep_rollback,
          mutants_of_reading, mutants_of_services, mutants_of_threads}) {
        const std::vector<Mutant> some = mutantsOf();
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

/// The number of failures of the check on all threads. An exception counts as a failure.
int failure_count(const Promise& promise, const Subject& subject) {
    testing::TestPartResultArray failures;
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &failures);
    try {
        Session session(subject);
        promise.check(session);
    } catch (const std::exception&) {
        return failures.size() + 1;
    }
    return failures.size();
}

// The promises are checked here without ConformanceTest.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConformanceTest);

class MutantsTest : public testing::TestWithParam<Mutant> {};

TEST_P(MutantsTest, brokenPromiseFindsTheFault) {
    const Mutant& mutant = GetParam();
    Faults faults;
    Subject declared = declared_by(mutant.base);
    mutant.plant(faults, declared);
    const Promise promise = promise_named(mutant.brokenPromise);
    ASSERT_TRUE(promise.isMadeBy(declared));
    EXPECT_GT(failure_count(promise, faulty(mutant.base, declared, faults)), 0);
}

TEST_P(MutantsTest, soundBackendKeepsThePromise) {
    const Mutant& mutant = GetParam();
    const Promise promise = promise_named(mutant.brokenPromise);
    const Subject declared = declared_by(mutant.base);
    // Otherwise the declaration of the back-end is the fault.
    if (promise.isMadeBy(declared)) {
        EXPECT_EQ(failure_count(promise, faulty(mutant.base, declared, Faults())), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Planted, MutantsTest, testing::ValuesIn(mutants()),
                         [](const auto& tested) { return tested.param.fault; });

TEST(PromisesTest, everyPromiseIsBrokenByAMutant) {
    std::set<std::string> broken;
    for (const Mutant& mutant : mutants()) {
        broken.insert(mutant.brokenPromise);
    }
    for (const Promise& promise : promises()) {
        EXPECT_EQ(broken.count(promise.name), 1U) << promise.name;
    }
}

} // namespace
} // namespace logging2::core::conformance
