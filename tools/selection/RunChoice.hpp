#pragma once

#include <logging2/backends/recording/recording.hpp>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace logging2::tools {

/// Which run the user means.
struct RunChoice {
    /// The directory of a recording, or a directory of recordings.
    std::string location;
    /// In a directory of recordings: "latest", or the beginning of the run's id. Otherwise empty.
    std::string id;
    /// The option that sets the id.
    std::string option = "--run";
};

/// Adds the argument RUN and the option --run.
void add_run_options(CLI::App& command, RunChoice& choice);

/// The same with another name of the argument, and with the option that the choice has.
void add_run_options(CLI::App& command, RunChoice& choice, const std::string& argument);

/// The directory of the chosen recording. Throws UsageError if the choice is not clear.
std::string recording_of(const RunChoice& choice);

/// Opens the chosen run.
std::unique_ptr<core::Run> open_run(const RunChoice& choice);

} // namespace logging2::tools
