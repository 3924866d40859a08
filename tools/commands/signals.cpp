#include <tools/commands/commands.hpp>

#include <tools/commands/describe.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct SignalsOptions {
    RunChoice run;
    SignalChoice signals;
    bool json = false;
};

std::vector<std::string> cells_of(const core::SignalInfo& signal,
                                  const core::SignalSummary& summary) {
    const ValueRange values = value_range_of(summary);
    return {signal.path.text(),
            std::to_string(signal.group),
            count_text(signal.width),
            count_text(summary.sampleCount),
            short_number_text(summary.leastTime),
            short_number_text(summary.greatestTime),
            short_number_text(values.least),
            short_number_text(values.greatest)};
}

int signals(const SignalsOptions& options, const Terminal& terminal) {
    const auto run = open_run(options.run);
    const std::vector<core::SignalInfo> chosen =
        chosen_signals(*run, options.signals, options.run.location);
    if (options.json) {
        Json result{{"schema", jsonSchema}, {"signals", Json::array()}};
        for (const core::SignalInfo& signal : chosen) {
            result["signals"].push_back(signal_json(signal, run->summary(signal.path)));
        }
        print_json(terminal, result);
        return 0;
    }
    using Content = Table::Content;
    Table table({{"SIGNAL", Content::name},
                 {"GROUP", Content::number, 2},
                 {"WIDTH", Content::number, 1},
                 {"STEPS", Content::number, 5},
                 {"FROM", Content::number, 3},
                 {"TO", Content::number, 3},
                 {"LEAST", Content::number, 4},
                 {"GREATEST", Content::number, 4}});
    for (const core::SignalInfo& signal : chosen) {
        table.add(cells_of(signal, run->summary(signal.path)));
    }
    table.print(terminal);
    return 0;
}

} // namespace

void add_signals(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "signals", "List the signals of a run with the ranges of their times and values");
    const auto options = std::make_shared<SignalsOptions>();
    add_run_options(*command, options->run);
    add_signal_options(*command, options->signals);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return signals(*options, terminal); };
    });
}

} // namespace logging2::tools
