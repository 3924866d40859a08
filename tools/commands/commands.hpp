#pragma once

#include <tools/terminal/Terminal.hpp>

#include <CLI/CLI.hpp>

#include <functional>

namespace logging2::tools {

/// What a command does. Returns the exit status: 0 for success, 1 for "differs" or "damaged".
using Action = std::function<int(const Terminal&)>;

// Each function adds one command, which sets the action if the user gives it.
void add_check(CLI::App& app, Action& action);
void add_compact(CLI::App& app, Action& action);
void add_copy(CLI::App& app, Action& action);
void add_diff(CLI::App& app, Action& action);
void add_export(CLI::App& app, Action& action);
void add_info(CLI::App& app, Action& action);
void add_list(CLI::App& app, Action& action);
void add_native(CLI::App& app, Action& action);
void add_plot(CLI::App& app, Action& action);
void add_print(CLI::App& app, Action& action);
void add_rescue(CLI::App& app, Action& action);
void add_signals(CLI::App& app, Action& action);
void add_view(CLI::App& app, Action& action);
void add_watch(CLI::App& app, Action& action);

} // namespace logging2::tools
