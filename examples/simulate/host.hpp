#pragma once

#include <ostream>

namespace simulate {

/// The whole program: parses the command line, runs what it asks for, and returns the exit status.
/// The service framework must run, and the back-ends to choose from must be registered; "recording"
/// and those of `--backend-library` are added. `terminal` is whether a progress bar may be drawn on
/// `err`.
int run_program(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
                bool terminal);

} // namespace simulate
