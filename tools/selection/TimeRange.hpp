#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace logging2::tools {

/// The steps with from <= time <= to, in the host's unit of time. Without any limit, all steps are
/// meant, also those whose time is NaN.
struct TimeRange {
    std::optional<double> from;
    std::optional<double> to;

    /// Whether all steps are meant.
    bool isWhole() const noexcept { return !from && !to; }

    /// The limits; infinite if they are empty.
    double least() const noexcept;
    double greatest() const noexcept;

    bool contains(double time) const noexcept;
};

/// Adds the options --from and --to, or another one for the end.
void add_time_options(CLI::App& command, TimeRange& range, const std::string& endOption = "--to");

/// Throws UsageError, which names the run, if the range ends before it begins.
void check_range(const TimeRange& range, const std::string& run);

} // namespace logging2::tools
