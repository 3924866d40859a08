#pragma once

#include <tools/terminal/ProgressBar.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <CLI/CLI.hpp>

#include <string>

namespace logging2::tools {

/// How a command writes a new recording.
struct NewRecording {
    std::string location;
    core::RecordingOptions options;
};

/// Adds the option -o, which is required, and --compress.
void add_new_recording_options(CLI::App& command, NewRecording& recording);

/// Adds the option --compress.
void add_compression_option(CLI::App& command, core::RecordingOptions& options);

/// Draws the bar, and throws Interrupted if the user asks for it.
core::RecordingProgress progress_of(ProgressBar& bar);

} // namespace logging2::tools
