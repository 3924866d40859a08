#include <tools/commands/new_recording.hpp>

#include <tools/selection/recording_directory.hpp>
#include <tools/terminal/Interrupt.hpp>

#include <algorithm>
#include <memory>

namespace logging2::tools {
namespace {

bool is_packed(const core::Run& run) {
    const std::vector<core::SignalInfo> signals = run.signals();
    return std::any_of(signals.begin(), signals.end(), [&run](const core::SignalInfo& signal) {
        const core::SignalSummary summary = run.summary(signal.path);
        return summary.byteCount < summary.sampleCount * signal.width * sizeof(double);
    });
}

} // namespace

void add_new_recording_options(CLI::App& command, NewRecording& recording) {
    command
        .add_option(
            "-o,--output", recording.location,
            "The directory of the new recording, which must not exist. `list` shows it only if "
            "NEW ends with .recording")
        ->required()
        ->type_name("NEW")
        ->check(CLI::Validator(
            [](const std::string& place) {
                check_outside_recordings(place);
                return std::string();
            },
            ""));
    add_compression_option(command, recording.options);
}

void add_compression_option(CLI::App& command, core::RecordingOptions& options) {
    command.add_flag_callback(
        "--compress", [&options] { options.compression = core::Compression::lz4; },
        "Pack the samples without loss, which takes more time");
}

core::RecordingOptions packed_like(const std::string& location, core::RecordingOptions options) {
    if (is_packed(*core::open_recording(location))) {
        options.compression = core::Compression::lz4;
    }
    return options;
}

core::RecordingProgress progress_of(ProgressBar& bar) {
    return [&bar](std::uint64_t done, std::uint64_t total) {
        InterruptGuard::check();
        bar.show(done, total);
    };
}

} // namespace logging2::tools
