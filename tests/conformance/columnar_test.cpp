#include <logging2/backends/columnar/columnar.hpp>
#include <logging2/conformance/conformance.hpp>

namespace logging2::core::conformance {
namespace {

Subject columnar() {
    Subject subject;
    subject.info = {"columnar", "", true, false};
    subject.supports.rollbackOnTimeRegression = true;
    subject.supports.closeFlushes = true;
    subject.registerServices = [](cppmicroservices::BundleContext context) {
        return register_columnar_backend(std::move(context));
    };
    return subject;
}

INSTANTIATE_TEST_SUITE_P(Columnar, ConformanceTest, testing::ValuesIn(cases_of(columnar())),
                         case_name);

} // namespace
} // namespace logging2::core::conformance
