#pragma once

#include <logging2/runs/runs.hpp>

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace logging2::tools {

/// Which signals of a run the user means. A pattern is a path in which `*` stands for any text, `?`
/// for any character, and `[abc]` for one of these characters.
struct SignalChoice {
    /// A signal is chosen if its path matches one of these; all are if there is none.
    std::vector<std::string> patterns;
    /// A signal is not chosen if its path matches one of these.
    std::vector<std::string> excluded;
};

/// Adds the argument PATTERN, which may be repeated, and the option --exclude.
void add_signal_options(CLI::App& command, SignalChoice& choice);

/// Whether the path of a signal matches the pattern.
bool matches(const std::string& pattern, const std::string& path);

/// Whether it matches one of the patterns.
bool matches_any(const std::vector<std::string>& patterns, const std::string& path);

/// Throws UsageError, which names the run, if one of the patterns matches none of the signals.
void check_patterns(const std::vector<core::SignalInfo>& signals,
                    const std::vector<std::string>& patterns, const std::string& runName);

/// The chosen signals of the run, in the order of Run::signals(). Throws UsageError, which names
/// the run, if a pattern, or the choice as a whole, matches no signal.
std::vector<core::SignalInfo> chosen_signals(const core::Run& run, const SignalChoice& choice,
                                             const std::string& runName);

} // namespace logging2::tools
