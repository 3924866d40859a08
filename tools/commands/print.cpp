#include <tools/commands/commands.hpp>

#include <tools/commands/RowOutput.hpp>
#include <tools/reading/MergedReader.hpp>
#include <tools/reading/StepReader.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/selection/number_checks.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct PrintOptions {
    RunChoice run;
    SignalChoice signals;
    TimeRange range;
    std::size_t every = 1;
    bool merges = false;
    bool csv = false;
    bool json = false;
};

std::unique_ptr<RowOutput> output_of(const PrintOptions& options, const Terminal& terminal) {
    if (options.json) {
        return json_rows(terminal);
    }
    return options.csv ? csv_rows(terminal) : text_rows(terminal);
}

void print_groups(const core::Run& run, const std::vector<GroupSignals>& groups,
                  const PrintOptions& options, RowOutput& output) {
    for (const GroupSignals& group : groups) {
        output.beginTable(column_titles({group}));
        StepReader steps(run, group, options.range);
        for (std::size_t step = 0; steps.next(); ++step) {
            if (step % options.every == 0) {
                std::vector<std::optional<double>> row{steps.time()};
                append_values(steps, row);
                output.addRow(row);
            }
        }
    }
}

void print_merged(const core::Run& run, const std::vector<GroupSignals>& groups,
                  const PrintOptions& options, RowOutput& output) {
    output.beginTable(column_titles(groups));
    MergedReader steps(run, groups, options.range);
    for (std::size_t step = 0; steps.next(); ++step) {
        if (step % options.every == 0) {
            output.addRow(steps.row());
        }
    }
}

int print(const PrintOptions& options, const Terminal& terminal) {
    check_range(options.range);
    const auto run = open_run(options.run);
    const std::vector<GroupSignals> groups = by_group(chosen_signals(*run, options.signals));
    const std::unique_ptr<RowOutput> output = output_of(options, terminal);
    if (options.merges) {
        print_merged(*run, groups, options, *output);
    } else {
        print_groups(*run, groups, options, *output);
    }
    output->end();
    return 0;
}

} // namespace

void add_print(CLI::App& app, Action& action) {
    CLI::App* const command =
        app.add_subcommand("print", "Print samples, a row per step, one group after the other");
    const auto options = std::make_shared<PrintOptions>();
    add_run_options(*command, options->run);
    add_signal_options(*command, options->signals);
    add_time_options(*command, options->range);
    command->add_option("--every", options->every, "Print only every Nth of the rows")
        ->type_name("N")
        ->check(at_least_one());
    command->add_flag("--merge", options->merges,
                      "Print the rows of all groups in one table, by time");
    CLI::Option* const csv =
        command->add_flag("--csv", options->csv, "Print comma-separated values");
    command->add_flag("--json", options->json, "Print JSON")->excludes(csv);
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return print(*options, terminal); };
    });
}

} // namespace logging2::tools
