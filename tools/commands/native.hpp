#pragma once

#include <tools/commands/commands.hpp>

#include <tools/native/find_left_overs.hpp>
#include <tools/native/layout.hpp>

#include <string>

namespace logging2::tools {

// Each function adds one command below `logging2 native`.
void add_native_clean(CLI::App& native, Action& action);
void add_native_list(CLI::App& native, Action& action);
void add_native_rescue(CLI::App& native, Action& action);

/// The left-overs in the directory, or where the writer puts its files if it is empty. Says at
/// `terminal.error` if files are left out because there are too many.
FoundLeftOvers left_overs_in(const std::string& directory, const Terminal& terminal);

/// Whether the left-over may be called so: its stem begins with the name.
bool has_name(const LeftOver& leftOver, const std::string& name);

} // namespace logging2::tools
