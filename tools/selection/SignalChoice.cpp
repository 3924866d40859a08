#include <tools/selection/SignalChoice.hpp>

#include <tools/UsageError.hpp>

#include <fnmatch.h>

#include <algorithm>

namespace logging2::tools {
void add_signal_options(CLI::App& command, SignalChoice& choice) {
    command
        .add_option("PATTERN", choice.patterns,
                    "The signals whose path matches; *, ? and [...] work as in file names")
        ->type_name("");
    command
        .add_option("--exclude", choice.excluded,
                    "Leave out the signals whose path matches; may be repeated")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
}

bool matches(const std::string& pattern, const std::string& path) {
    return fnmatch(pattern.c_str(), path.c_str(), 0) == 0;
}

bool matches_any(const std::vector<std::string>& patterns, const std::string& path) {
    return std::any_of(patterns.begin(), patterns.end(),
                       [&path](const std::string& pattern) { return matches(pattern, path); });
}

void check_patterns(const std::vector<core::SignalInfo>& signals,
                    const std::vector<std::string>& patterns, const std::string& runName) {
    for (const std::string& pattern : patterns) {
        const bool isUsed =
            std::any_of(signals.begin(), signals.end(), [&pattern](const core::SignalInfo& signal) {
                return matches(pattern, signal.path.text());
            });
        if (!isUsed) {
            throw UsageError(std::string(runName)
                                 .append(": no signal matches \"")
                                 .append(pattern)
                                 .append("\"; `logging2 signals` lists the signals of a run"));
        }
    }
}

std::vector<core::SignalInfo> chosen_signals(const core::Run& run, const SignalChoice& choice,
                                             const std::string& runName) {
    const std::vector<core::SignalInfo> all = run.signals();
    check_patterns(all, choice.patterns, runName);
    std::vector<core::SignalInfo> result;
    std::copy_if(all.begin(), all.end(), std::back_inserter(result),
                 [&choice](const core::SignalInfo& signal) {
                     const std::string& path = signal.path.text();
                     return (choice.patterns.empty() || matches_any(choice.patterns, path)) &&
                            !matches_any(choice.excluded, path);
                 });
    if (result.empty()) {
        throw UsageError(
            runName + (all.empty() ? ": the run has no signals" : ": no signal is left to choose"));
    }
    return result;
}

} // namespace logging2::tools
