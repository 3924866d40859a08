#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/conformance.hpp>

#include <filesystem>

namespace logging2::core::conformance {
namespace {

template <Compression How>
BackendRegistrations register_in_temporary_directory(cppmicroservices::BundleContext context) {
    RecordingOptions options;
    // The suite has set TMPDIR to an empty directory of its own.
    options.directory = std::filesystem::temp_directory_path().string();
    options.compression = How;
    return register_recording_backend(std::move(context), options);
}

Subject recordings(BackendRegistrations (*registerServices)(cppmicroservices::BundleContext)) {
    Subject subject;
    subject.info = {"recording", "", true, true};
    subject.supports.rollbackOnTimeRegression = true;
    subject.supports.closeFlushes = true;
    subject.registerServices = registerServices;
    return subject;
}

INSTANTIATE_TEST_SUITE_P(
    Recording, ConformanceTest,
    testing::ValuesIn(cases_of(recordings(register_in_temporary_directory<Compression::none>))),
    case_name);
INSTANTIATE_TEST_SUITE_P(
    PackedRecording, ConformanceTest,
    testing::ValuesIn(cases_of(recordings(register_in_temporary_directory<Compression::lz4>))),
    case_name);

} // namespace
} // namespace logging2::core::conformance
