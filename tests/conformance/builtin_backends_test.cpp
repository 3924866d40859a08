#include <tests/conformance/builtin_subjects.hpp>

// The built-in back-ends keep the promises that every back-end makes.

namespace logging2::core::conformance {
namespace {

INSTANTIATE_TEST_SUITE_P(Memory, ConformanceTest,
                         testing::ValuesIn(cases_of(builtin_subject("memory"))), case_name);
INSTANTIATE_TEST_SUITE_P(MemoryRestricted, ConformanceTest,
                         testing::ValuesIn(cases_of(builtin_subject("memory-restricted"))),
                         case_name);
INSTANTIATE_TEST_SUITE_P(Native, ConformanceTest,
                         testing::ValuesIn(cases_of(builtin_subject("native"))), case_name);

} // namespace
} // namespace logging2::core::conformance
