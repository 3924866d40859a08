#include <tools/commands/new_recording.hpp>

#include <tools/selection/recording_directory.hpp>
#include <tools/terminal/Interrupt.hpp>

namespace logging2::tools {

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

core::RecordingProgress progress_of(ProgressBar& bar) {
    return [&bar](std::uint64_t done, std::uint64_t total) {
        InterruptGuard::check();
        bar.show(done, total);
    };
}

} // namespace logging2::tools
