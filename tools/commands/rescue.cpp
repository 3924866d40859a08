#include <tools/commands/commands.hpp>

#include <tools/commands/new_recording.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct RescueOptions {
    RunChoice run;
    NewRecording rescued;
    bool json = false;
};

Json json_of(const core::RecordingRebuild& result, const std::string& location) {
    Json json{{"schema", jsonSchema},
              {"location", location},
              {"state", result.isComplete() ? "complete" : "incomplete"},
              {"steps", result.stepCount},
              {"mayLackRollback", result.mayLackRollback},
              {"lostSteps", Json::array()},
              {"lostBytes", Json::array()}};
    for (const core::LostSteps& lost : result.lostSteps) {
        json["lostSteps"].push_back(
            {{"group", lost.group}, {"firstStep", lost.firstStep}, {"steps", lost.stepCount}});
    }
    for (const core::LostBytes& lost : result.lostBytes) {
        json["lostBytes"].push_back({{"offset", lost.offset}, {"bytes", lost.byteCount}});
    }
    return json;
}

void print_text(const core::RecordingRebuild& result, const std::string& location,
                const Terminal& terminal) {
    for (const core::LostSteps& lost : result.lostSteps) {
        terminal.printLine("lost: " + count_text(lost.stepCount) + " steps of group " +
                           std::to_string(lost.group) + ", from step " +
                           std::to_string(lost.firstStep) + " on");
    }
    for (const core::LostBytes& lost : result.lostBytes) {
        terminal.printLine("damaged: " + count_text(lost.byteCount) +
                           " bytes of samples.bin, from byte " + std::to_string(lost.offset) +
                           " on; they may have held further steps");
    }
    if (result.mayLackRollback) {
        terminal.printLine(
            "The damaged bytes may have held a rollback, so the new recording may contain "
            "steps that were discarded.");
    }
    terminal.printLine(printable(location) + ": " + count_text(result.stepCount) + " steps" +
                       (result.isComplete() ? ", nothing is lost" : ""));
}

int rescue(const RescueOptions& options, const Terminal& terminal) {
    const std::string location = recording_of(options.run);
    core::RecordingRebuild result;
    {
        const InterruptGuard guard;
        ProgressBar bar(terminal);
        result = core::rebuild_recording(location, options.rescued.location,
                                         options.rescued.options, progress_of(bar));
    }
    if (options.json) {
        print_json(terminal, json_of(result, options.rescued.location));
    } else {
        print_text(result, options.rescued.location, terminal);
    }
    return result.isComplete() ? 0 : 1;
}

} // namespace

void add_rescue(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "rescue", "Make a new recording of all that is still good in a damaged one, and check it");
    const auto options = std::make_shared<RescueOptions>();
    add_run_options(*command, options->run);
    add_new_recording_options(*command, options->rescued);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return rescue(*options, terminal); };
    });
}

} // namespace logging2::tools
