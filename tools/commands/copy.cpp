#include <tools/commands/commands.hpp>

#include <tools/commands/describe.hpp>
#include <tools/commands/new_recording.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct CopyOptions {
    RunChoice run;
    NewRecording copy;
    bool json = false;
};

int copy(const CopyOptions& options, const Terminal& terminal) {
    const std::string location = recording_of(options.run);
    {
        const InterruptGuard guard;
        ProgressBar bar(terminal);
        core::copy_recording(location, options.copy.location, options.copy.options,
                             progress_of(bar));
    }
    const std::uint64_t before = file_byte_count(location);
    const std::uint64_t after = file_byte_count(options.copy.location);
    if (options.json) {
        print_json(terminal, {{"schema", jsonSchema},
                              {"location", options.copy.location},
                              {"bytes", after},
                              {"bytesOfOriginal", before}});
    } else {
        terminal.printLine(printable(options.copy.location) + ": " + byte_count_text(after) +
                           ", copied from " + byte_count_text(before));
    }
    return 0;
}

} // namespace

void add_copy(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "copy", "Copy a run, also while it is written, without the bytes of discarded steps");
    const auto options = std::make_shared<CopyOptions>();
    options->copy.options.compression = core::Compression::original;
    add_run_options(*command, options->run);
    add_new_recording_options(*command, options->copy);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return copy(*options, terminal); };
    });
}

} // namespace logging2::tools
