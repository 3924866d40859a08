#pragma once

#include <filesystem>
#include <string>

namespace integration {

/// What a process left.
struct ProcessResult {
    /// The exit status; -1 where a signal ended it.
    int status;
    std::string out;
    std::string err;
};

/// Runs the program in the directory and waits for it. `arguments` is shell text, `prefix` stands
/// before the program's path in the same line: variables, or commands that end with a semicolon.
ProcessResult run_simulate(const std::filesystem::path& directory, const std::string& arguments,
                           const std::string& prefix = "");

} // namespace integration
