#pragma once

#include <examples/simulate/Options.hpp>

#include <optional>
#include <ostream>

namespace simulate {

/// What the command line asks for, checked as far as that goes without running anything; nothing
/// where it asked for help, which is then on `out`. Throws HostError on what it does not take.
std::optional<Options> parse_command_line(int argc, const char* const* argv, std::ostream& out);

} // namespace simulate
