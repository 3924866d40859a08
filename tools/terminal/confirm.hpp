#pragma once

#include <tools/terminal/Terminal.hpp>

#include <string>

namespace logging2::tools {

/// Asks a question at `terminal.error`, and returns whether the user has answered "y" or "yes".
/// Throws UsageError if the standard input is no terminal.
bool confirm(const Terminal& terminal, const std::string& question);

} // namespace logging2::tools
