#include <tools/commands/commands.hpp>

#include <tools/commands/new_recording.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct CheckOptions {
    RunChoice run;
    bool json = false;
};

core::RecordingCheck checked(const std::string& location, const Terminal& terminal) {
    const InterruptGuard guard;
    ProgressBar bar(terminal);
    return core::check_recording(location, progress_of(bar));
}

void print_text(const core::RecordingCheck& result, const std::string& location,
                const Terminal& terminal) {
    for (const std::string& finding : result.findings) {
        terminal.printLine(printable(finding));
    }
    if (result.findingCount > result.findings.size()) {
        terminal.printLine("and " + count_text(result.findingCount - result.findings.size()) +
                           " more");
    }
    terminal.printLine(
        printable(location) + ": " + (result.findingCount == 0 ? "whole" : "damaged") + ", " +
        count_text(result.stepCount) + " steps in " + count_text(result.chunkCount) +
        (result.chunkCount == 1 ? " chunk, " : " chunks, ") + byte_count_text(result.byteCount));
}

void print_as_json(const core::RecordingCheck& result, const std::string& location,
                   const Terminal& terminal) {
    print_json(terminal, {{"schema", jsonSchema},
                          {"location", location},
                          {"state", result.findingCount == 0 ? "whole" : "damaged"},
                          {"findingCount", result.findingCount},
                          {"findings", result.findings},
                          {"chunks", result.chunkCount},
                          {"steps", result.stepCount},
                          {"bytes", result.byteCount}});
}

int check(const CheckOptions& options, const Terminal& terminal) {
    const std::string location = recording_of(options.run);
    const core::RecordingCheck result = checked(location, terminal);
    if (options.json) {
        print_as_json(result, location, terminal);
    } else {
        print_text(result, location, terminal);
    }
    return result.findingCount == 0 ? 0 : 1;
}

} // namespace

void add_check(CLI::App& app, Action& action) {
    CLI::App* const command =
        app.add_subcommand("check", "Compare everything in a run with its hashes");
    const auto options = std::make_shared<CheckOptions>();
    add_run_options(*command, options->run);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return check(*options, terminal); };
    });
}

} // namespace logging2::tools
