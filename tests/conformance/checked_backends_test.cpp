#include <logging2/backends/checked/checked.hpp>
#include <tests/conformance/builtin_subjects.hpp>

// A checked back-end keeps the promises of its inner back-end.

namespace logging2::core::conformance {
namespace {

Subject checked(Subject subject) {
    const std::string inner = subject.info.name;
    subject.info.name = "checked:" + inner;
    subject.registerServices = [inner](const cppmicroservices::BundleContext& context) {
        BackendRegistrations registrations = register_builtin_backends(context);
        const BackendRegistrations ofChecked = register_checked_backend(context, inner);
        registrations.insert(registrations.end(), ofChecked.begin(), ofChecked.end());
        return registrations;
    };
    return subject;
}

INSTANTIATE_TEST_SUITE_P(CheckedMemory, ConformanceTest,
                         testing::ValuesIn(cases_of(checked(memory()))), case_name);
INSTANTIATE_TEST_SUITE_P(CheckedMemoryRestricted, ConformanceTest,
                         testing::ValuesIn(cases_of(checked(memory_restricted()))), case_name);
INSTANTIATE_TEST_SUITE_P(CheckedNative, ConformanceTest,
                         testing::ValuesIn(cases_of(checked(native()))), case_name);

} // namespace
} // namespace logging2::core::conformance
