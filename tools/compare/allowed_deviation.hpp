#pragma once

#include <tools/compare/Tolerances.hpp>

#include <logging2/runs/runs.hpp>

#include <vector>

namespace logging2::tools {

/// For each element of a signal, the greater one of the absolute tolerance and the relative one
/// times the range of the element's finite values in the whole run.
std::vector<double> allowed_deviation(const core::Run& run, const core::SignalInfo& signal,
                                      const Tolerance& tolerance);

} // namespace logging2::tools
