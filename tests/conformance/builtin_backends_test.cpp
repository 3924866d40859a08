#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/conformance/conformance.hpp>

#include <stdexcept>

// The built-in back-ends keep the promises that every back-end makes.

namespace logging2::core::conformance {
namespace {

/// The built-in back-end of that name.
Subject builtin(const std::string& name, const Supports& supports) {
    for (const Backend& backend : builtin_backends()) {
        if (backend.name == name) {
            return subject_of(backend, supports);
        }
    }
    throw std::out_of_range("there is no built-in back-end " + name);
}

Subject memory() {
    Supports supports;
    supports.rollbackOnTimeRegression = true;
    supports.closeFlushes = true;
    return builtin("memory", supports);
}

Subject memory_restricted() {
    Supports supports = memory().supports;
    supports.pointLimit = true;
    return builtin("memory-restricted", supports);
}

Subject native() {
    Supports supports;
    supports.readersDelete = true;
    return builtin("native", supports);
}

INSTANTIATE_TEST_SUITE_P(Memory, ConformanceTest, testing::ValuesIn(cases_of(memory())), case_name);
INSTANTIATE_TEST_SUITE_P(MemoryRestricted, ConformanceTest,
                         testing::ValuesIn(cases_of(memory_restricted())), case_name);
INSTANTIATE_TEST_SUITE_P(Native, ConformanceTest, testing::ValuesIn(cases_of(native())), case_name);

} // namespace
} // namespace logging2::core::conformance
