#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/conformance.hpp>

#include <filesystem>

namespace logging2::core::conformance {
namespace {

BackendRegistrations register_in_temporary_directory(cppmicroservices::BundleContext context) {
    RecordingOptions options;
    // The suite has set TMPDIR to an empty directory of its own.
    options.directory = std::filesystem::temp_directory_path().string();
    return register_recording_backend(std::move(context), options);
}

Subject recordings() {
    Subject subject;
    subject.info = {"recording", "", true, true};
    subject.supports.rollbackOnTimeRegression = true;
    subject.supports.closeFlushes = true;
    subject.registerServices = register_in_temporary_directory;
    return subject;
}

INSTANTIATE_TEST_SUITE_P(Recording, ConformanceTest, testing::ValuesIn(cases_of(recordings())),
                         case_name);

} // namespace
} // namespace logging2::core::conformance
