#pragma once

#include <tools/terminal/json.hpp>

#include <logging2/runs/runs.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace logging2::tools {

/// From its start to its end, or until now while it is running; empty if it is interrupted.
std::optional<std::chrono::system_clock::duration> duration_of(const core::RunInfo& info);

/// How many bytes the files of a recording have.
std::uint64_t file_byte_count(const std::string& location);

/// The least value of all elements, and the greatest; empty if there is no number.
struct ValueRange {
    std::optional<double> least;
    std::optional<double> greatest;
};
ValueRange value_range_of(const core::SignalSummary& summary);

/// The members of a run that each command shows: id, name, state, location, start, end, duration
/// and bytes.
Json run_json(const core::RunInfo& info, const std::string& location);

/// Everything that is known about a signal.
Json signal_json(const core::SignalInfo& signal, const core::SignalSummary& summary);

} // namespace logging2::tools
