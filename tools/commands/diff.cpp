#include <tools/commands/commands.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/diff_report.hpp>
#include <tools/commands/new_recording.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/number_checks.hpp>
#include <tools/terminal/Interrupt.hpp>

#include <fstream>
#include <memory>

namespace logging2::tools {
namespace {

struct DiffOptions {
    RunChoice a{"", "", "--run-a"};
    RunChoice b{"", "", "--run-b"};
    bool isExact = false;
    Tolerance tolerance;
    std::string toleranceFile;
    std::vector<std::string> held;
    std::vector<std::string> ignored;
    TimeRange range;
    bool json = false;
};

Tolerances tolerances_of(const DiffOptions& options) {
    Tolerances result(options.tolerance);
    if (!options.toleranceFile.empty()) {
        std::ifstream file(options.toleranceFile);
        if (!file) {
            throw UsageError(options.toleranceFile + ": cannot be opened");
        }
        result.read(file, options.toleranceFile);
    }
    return result;
}

int diff(const DiffOptions& options, const Terminal& terminal) {
    check_range(options.range, options.a.location + " and " + options.b.location);
    const RunComparisonSettings settings{options.isExact, tolerances_of(options), options.held,
                                         options.ignored, options.range};
    DiffReport report{recording_of(options.a), recording_of(options.b), options.isExact,
                      options.tolerance,       options.toleranceFile,   {}};
    const auto a = core::open_recording(report.locationA, core::SampleAccess::copied);
    const auto b = core::open_recording(report.locationB, core::SampleAccess::copied);
    {
        const InterruptGuard guard; // so that the bar is removed
        ProgressBar bar(terminal);
        report.result = compare_runs(*a, *b, settings, progress_of(bar));
    }
    (options.json ? print_diff_json : print_diff)(terminal, report);
    return report.result.differs() ? 1 : 0;
}

CLI::Option* add_tolerance(CLI::App& command, const std::string& name, double& value,
                           const std::string& description) {
    return command.add_option(name, value, description)
        ->type_name("NUMBER")
        ->check(at_least_zero());
}

CLI::Option* add_patterns(CLI::App& command, const std::string& name,
                          std::vector<std::string>& patterns, const std::string& description) {
    return command.add_option(name, patterns, description + "; may be repeated")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
}

void add_tube_options(CLI::App& command, DiffOptions& options) {
    CLI::Option* const exact =
        command.add_flag("--exact", options.isExact, "Compare the bits of all times and values");
    command.add_flag("--tube", "Compare the signals as curves, the default")->excludes(exact);
    add_tolerance(command, "--absolute", options.tolerance.absolute,
                  "Allow this deviation of the values (default: 0)")
        ->excludes(exact);
    add_tolerance(command, "--relative", options.tolerance.relative,
                  "Allow this part of the signal's range in A (default: 0.001)")
        ->excludes(exact);
    add_tolerance(command, "--time-tolerance", options.tolerance.time,
                  "Allow this deviation of the times (default: 0)")
        ->excludes(exact);
    command
        .add_option("--tolerances", options.toleranceFile,
                    "A file with lines PATTERN absolute=NUMBER relative=NUMBER time=NUMBER")
        ->type_name("FILE")
        ->excludes(exact);
    add_patterns(command, "--hold", options.held,
                 "The value of these signals holds until the next sample")
        ->excludes(exact);
}

} // namespace

void add_diff(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "diff", "Compare run B with the reference A; the exit status is 1 if they differ");
    const auto options = std::make_shared<DiffOptions>();
    add_run_options(*command, options->a, "A");
    add_run_options(*command, options->b, "B");
    add_tube_options(*command, *options);
    add_patterns(*command, "--ignore", options->ignored, "Leave out these signals");
    add_time_options(*command, options->range);
    command->add_flag("--json", options->json, "Print JSON, also about signals that do not differ");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return diff(*options, terminal); };
    });
}

} // namespace logging2::tools
