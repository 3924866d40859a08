#include <logging2/backends/checked/checked.hpp>
#include <tests/conformance/builtin_subjects.hpp>

#include <utility>

// A checked back-end keeps the promises that its inner back-end makes.

namespace logging2::core::conformance {
namespace {

Subject checked(const std::string& name) {
    Subject subject = builtin_subject(name);
    subject.info.name = "checked:" + name;
    subject.registerServices = [name, registerInner = subject.registerServices](
                                   const cppmicroservices::BundleContext& context) {
        BackendRegistrations registrations = registerInner(context);
        for (auto& registration : register_checked_backend(context, name)) {
            registrations.push_back(std::move(registration));
        }
        return registrations;
    };
    return subject;
}

INSTANTIATE_TEST_SUITE_P(CheckedMemory, ConformanceTest,
                         testing::ValuesIn(cases_of(checked("memory"))), case_name);
INSTANTIATE_TEST_SUITE_P(CheckedMemoryRestricted, ConformanceTest,
                         testing::ValuesIn(cases_of(checked("memory-restricted"))), case_name);
INSTANTIATE_TEST_SUITE_P(CheckedNative, ConformanceTest,
                         testing::ValuesIn(cases_of(checked("native"))), case_name);

} // namespace
} // namespace logging2::core::conformance
