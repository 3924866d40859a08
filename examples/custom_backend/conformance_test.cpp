#include <logging2/conformance/conformance.hpp>

#include <vector>

// "on-change" keeps every promise that it makes.

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends);

namespace logging2::core::conformance {
namespace {

Subject on_change() {
    std::vector<Backend> backends;
    logging2_backends(backends);
    Supports supports;
    supports.rollbackOnTimeRegression = true;
    supports.closeFlushes = true;
    return subject_of(backends.front(), supports);
}

INSTANTIATE_TEST_SUITE_P(OnChange, ConformanceTest, testing::ValuesIn(cases_of(on_change())),
                         case_name);

} // namespace
} // namespace logging2::core::conformance
