#include <tools/commands/commands.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/CompactionDirectory.hpp>
#include <tools/commands/describe.hpp>
#include <tools/commands/new_recording.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/text.hpp>

#include <filesystem>
#include <memory>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

struct CompactOptions {
    RunChoice run;
    core::RecordingOptions recording;
    bool json = false;
};

/// The host of a running run would go on writing to the old files.
void check_not_running(const std::string& location) {
    if (core::open_recording(location)->info().state == core::RunState::running) {
        throw UsageError(location + ": the run is still being written; use `logging2 copy`");
    }
}

/// The copy is on the disk before it replaces the recording, and has the same permissions.
core::RecordingOptions options_of(const CompactOptions& options, const fs::path& location) {
    core::RecordingOptions result = options.recording;
    result.durability = core::Durability::power;
    result.mode = static_cast<mode_t>((fs::status(location).permissions() & fs::perms::mask) |
                                      fs::perms::owner_all);
    return result;
}

void replace_by_copy(const fs::path& location, const CompactionDirectory& directory,
                     const core::RecordingOptions& options, const Terminal& terminal) {
    const fs::path copy = directory.path() / location.filename();
    {
        ProgressBar bar(terminal);
        core::copy_recording(location.string(), copy.string(), options, progress_of(bar));
    }
    directory.replaceRecording(copy);
}

int compact(const CompactOptions& options, const Terminal& terminal) {
    const fs::path location = fs::canonical(recording_of(options.run));
    const InterruptGuard guard; // before anything is made
    const CompactionDirectory directory(location);
    check_not_running(location.string());
    const std::uint64_t before = file_byte_count(location.string());
    replace_by_copy(location, directory, options_of(options, location), terminal);
    const std::uint64_t after = file_byte_count(location.string());
    if (options.json) {
        print_json(terminal, {{"schema", jsonSchema},
                              {"location", location.string()},
                              {"bytes", after},
                              {"bytesBefore", before}});
    } else {
        terminal.printLine(printable(location.string()) + ": " + byte_count_text(after) +
                           ", before " + byte_count_text(before));
    }
    return 0;
}

} // namespace

void add_compact(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "compact", "Replace a run that has ended by a copy without the bytes of discarded steps");
    const auto options = std::make_shared<CompactOptions>();
    options->recording.compression = core::Compression::original;
    add_run_options(*command, options->run);
    add_compression_option(*command, options->recording);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return compact(*options, terminal); };
    });
}

} // namespace logging2::tools
