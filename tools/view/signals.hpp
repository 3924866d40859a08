#pragma once

#include <logging2/runs/runs.hpp>

#include <string>
#include <vector>

namespace logging2::tools::view {

/// What clients see of the path, and by which they ask for the signal: control characters and bytes
/// that are not UTF-8 are "\xNN".
std::string name_of(const core::SignalInfo& signal);

/// The signal with this name. Throws HttpError with status 404 if there is none.
core::SignalInfo signal_of(const core::Run& run, const std::string& name);

/// The same, from all signals of a run.
core::SignalInfo signal_in(const std::vector<core::SignalInfo>& all, const std::string& name);

/// The path and the number of an element of the signal. Throws HttpError with status 404 if it has
/// no such element.
void check_element(const core::SignalInfo& signal, std::size_t element);

} // namespace logging2::tools::view
