#include <logging2/conformance/conformance.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>

// A checked back-end keeps the promises that its inner back-end makes.

namespace logging2::core::conformance {
namespace {

Backend checked(const std::string& name, const Supports& supports) {
    const auto registerServices = [name](cppmicroservices::BundleContext context) {
        Registrations registrations = register_builtin_backends(context);
        for (auto& registration : register_checked_backend(context, name)) {
            registrations.push_back(std::move(registration));
        }
        return registrations;
    };
    return {"checked:" + name, supports, registerServices};
}

Supports of_memory() {
    Supports supports;
    supports.rollback = true;
    supports.rollbackOnTimeRegression = true;
    supports.closeFlushes = true;
    return supports;
}

Supports of_restricted_memory() {
    Supports supports = of_memory();
    supports.pointLimit = true;
    return supports;
}

Supports of_native() {
    Supports supports;
    supports.readersDelete = true;
    return supports;
}

INSTANTIATE_TEST_SUITE_P(CheckedMemory, ConformanceTest,
                         testing::ValuesIn(cases_of(checked("memory", of_memory()))), case_name);
INSTANTIATE_TEST_SUITE_P(
    CheckedMemoryRestricted, ConformanceTest,
    testing::ValuesIn(cases_of(checked("memory-restricted", of_restricted_memory()))), case_name);
INSTANTIATE_TEST_SUITE_P(CheckedNative, ConformanceTest,
                         testing::ValuesIn(cases_of(checked("native", of_native()))), case_name);

} // namespace
} // namespace logging2::core::conformance
