#pragma once

#include <tools/terminal/Terminal.hpp>

namespace logging2::tools {

/// Does what the command line asks for. Returns the exit status: 0 for success, 1 for "differs" or
/// "damaged", 2 for wrong usage or input that cannot be read, and 128 + N if signal N has ended the
/// command. An error is one line on the error stream.
int run_command_line(int argc, const char* const* argv, const Terminal& terminal);

} // namespace logging2::tools
