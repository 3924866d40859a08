#include <tools/commands/commands.hpp>

#include <tools/commands/RowOutput.hpp>
#include <tools/exporting/Excerpt.hpp>
#include <tools/reading/MergedReader.hpp>
#include <tools/reading/StepReader.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/selection/number_checks.hpp>
#include <tools/terminal/ProgressBar.hpp>

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

class Printing {
public:
    Printing(const Excerpt& excerptToPrint, std::size_t every, RowOutput& rowOutput,
             const Terminal& terminal)
        : excerpt(excerptToPrint),
          interval(every),
          output(rowOutput),
          bar(ProgressBar::ofRows(terminal)),
          stepCount(greatest_step_count(excerpt)) {}

    void printGroups() {
        for (const GroupSignals& group : excerpt.groups) {
            output.beginTable(column_titles({group}));
            StepReader steps(excerpt.run, group, excerpt.range);
            for (std::size_t step = 0; steps.next(); ++step) {
                if (isPrinted(step)) {
                    std::vector<std::optional<double>> row{steps.time()};
                    append_values(steps, row);
                    output.addRow(row);
                }
            }
        }
    }

    void printMerged() {
        output.beginTable(column_titles(excerpt.groups));
        MergedReader steps(excerpt.run, excerpt.groups, excerpt.range);
        for (std::size_t step = 0; steps.next(); ++step) {
            if (isPrinted(step)) {
                output.addRow(steps.row());
            }
        }
    }

private:
    /// Also shows the progress.
    bool isPrinted(std::size_t step) {
        if (++passedCount % blockStepCount == 0) {
            bar.show(passedCount, stepCount);
        }
        return step % interval == 0;
    }

    static constexpr std::uint64_t blockStepCount = 1024;

    const Excerpt& excerpt;
    std::size_t interval;
    RowOutput& output;
    ProgressBar bar;
    std::uint64_t stepCount; ///< at most
    std::uint64_t passedCount = 0;
};

int print(const PrintOptions& options, const Terminal& terminal) {
    check_range(options.range, options.run.location);
    const auto run = open_run(options.run);
    const Excerpt excerpt{
        *run, by_group(chosen_signals(*run, options.signals, options.run.location)), options.range};
    const std::unique_ptr<RowOutput> output = output_of(options, terminal);
    Printing printing(excerpt, options.every, *output, terminal);
    try {
        options.merges ? printing.printMerged() : printing.printGroups();
    } catch (...) {
        output->end(); // The rows before the damage are good.
        throw;
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
