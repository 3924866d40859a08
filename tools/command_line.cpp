#include <tools/command_line.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/commands.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/text.hpp>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <string>

namespace logging2::tools {
namespace {

constexpr int usageStatus = 2;
constexpr int signalStatus = 128;

constexpr const char* footer = "\nRUN is the directory of a recording, or a directory of "
                               "recordings together with --run ID or\n"
                               "--run latest. `logging2 COMMAND --help` explains a command.\n"
                               "\n"
                               "The exit status is 0 for success, 1 if runs differ, a run is "
                               "damaged or something is lost, and 2\n"
                               "for wrong usage or input that cannot be read.";

void add_commands(CLI::App& app, Action& action) {
    add_list(app, action);
    add_info(app, action);
    add_signals(app, action);
    add_print(app, action);
    add_plot(app, action);
    add_view(app, action);
    add_watch(app, action);
    add_diff(app, action);
    add_export(app, action);
    add_check(app, action);
    add_rescue(app, action);
    add_copy(app, action);
    add_compact(app, action);
    add_native(app, action);
}

int failed(const Terminal& terminal, const std::string& message, int status) {
    terminal.error << "logging2: " << printable(message) << '\n';
    return status;
}

/// An empty argument comes from a variable of the shell that has no value, and means nothing.
void check_arguments(int argc, const char* const* argv) {
    if (std::any_of(argv, argv + argc, [](const char* argument) { return *argument == '\0'; })) {
        throw UsageError("an argument is empty");
    }
}

int run_action(const Action& action, const Terminal& terminal) {
    const int status = action(terminal);
    if (!terminal.out.flush()) {
        throw UsageError("the output cannot be written");
    }
    return status;
}

} // namespace

int run_command_line(int argc, const char* const* argv, const Terminal& terminal) {
    Action action;
    CLI::App app("Shows, compares, exports and repairs the runs of simulations.", "logging2");
    app.set_version_flag("--version", "logging2 " LOGGING2_VERSION);
    app.require_subcommand(1);
    add_commands(app, action);
    app.footer(footer);
    try {
        check_arguments(argc, argv);
        app.parse(argc, argv);
        return run_action(action, terminal);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error, terminal.out, terminal.error);
        }
        return failed(terminal, std::string(error.what()) + " (--help explains the options)",
                      usageStatus);
    } catch (const Interrupted& interrupted) {
        return failed(terminal, interrupted.what(), signalStatus + interrupted.signal());
    } catch (const std::exception& error) {
        return failed(terminal, error.what(), usageStatus);
    }
}

} // namespace logging2::tools
