#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace simulate {

/// What the command line asks for.
struct Options {
    std::string model;
    std::string backend = "memory";
    /// Shared libraries that offer further back-ends.
    std::vector<std::string> backendLibraries;
    /// Take the library's default writer and reader instead of looking one up by name.
    bool useDefault = false;
    /// Use the checked form of the back-end.
    bool checked = false;
    /// In the model's time unit; without it the model's own.
    std::optional<double> stopTime;
    /// Absolute and relative error bound of a solver step.
    double tolerance = 1e-9;
    /// The samples per group that a back-end with a limit keeps.
    std::size_t pointLimit = 1000;
    /// Where the back-end "recording" makes its recordings.
    std::filesystem::path recordingDirectory = "recordings";
    std::filesystem::path outputDirectory = "out";
    bool plots = true;
    /// List models and back-ends instead of running one.
    bool list = false;
};

} // namespace simulate
