#pragma once

#include <logging2/runs/runs.hpp>

#include <string>

namespace logging2::tools::view {

/// The signal with this path. Throws HttpError with status 404 if there is none.
core::SignalInfo signal_of(const core::Run& run, const std::string& path);

/// The path and the number of an element of the signal. Throws HttpError with status 404 if it has
/// no such element.
void check_element(const core::SignalInfo& signal, std::size_t element);

} // namespace logging2::tools::view
