#pragma once

#include <filesystem>
#include <string>

namespace integration {

/// The result of a process.
struct ProcessResult {
    /// The exit status, or -1 if a signal ended the process.
    int status;
    std::string out;
    std::string err;
};

/// Runs the program in the directory and waits for it. `arguments` is shell text. `prefix` precedes
/// the program's path in the same line: variables, or commands that end with a semicolon.
ProcessResult run_simulate(const std::filesystem::path& directory, const std::string& arguments,
                           const std::string& prefix = "");

} // namespace integration
