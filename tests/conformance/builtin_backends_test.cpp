#include <logging2/conformance/conformance.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>

// The built-in back-ends keep the promises that every back-end makes.

namespace logging2::core::conformance {
namespace {

Backend memory() {
    Supports supports;
    supports.rollback = true;
    supports.rollbackOnTimeRegression = true;
    supports.closeFlushes = true;
    return {"memory", supports, register_builtin_backends};
}

Backend memory_restricted() {
    Supports supports = memory().supports;
    supports.pointLimit = true;
    return {"memory-restricted", supports, register_builtin_backends};
}

Backend native() {
    Supports supports;
    supports.readersDelete = true;
    return {"native", supports, register_builtin_backends};
}

INSTANTIATE_TEST_SUITE_P(Memory, ConformanceTest, testing::ValuesIn(cases_of(memory())), case_name);
INSTANTIATE_TEST_SUITE_P(MemoryRestricted, ConformanceTest,
                         testing::ValuesIn(cases_of(memory_restricted())), case_name);
INSTANTIATE_TEST_SUITE_P(Native, ConformanceTest, testing::ValuesIn(cases_of(native())), case_name);

} // namespace
} // namespace logging2::core::conformance
