#pragma once

#include <tools/compare/compare_runs.hpp>
#include <tools/terminal/Terminal.hpp>

#include <string>

namespace logging2::tools {

/// What the command diff has found, and how.
struct DiffReport {
    std::string locationA;
    std::string locationB;
    bool isExact = false;
    Tolerance tolerance;       ///< where the file says nothing else
    std::string toleranceFile; ///< empty if there is none
    RunComparison result;
};

/// Prints the signals that differ, and a summary.
void print_diff(const Terminal& terminal, const DiffReport& report);

/// Prints everything, also about the signals that do not differ.
void print_diff_json(const Terminal& terminal, const DiffReport& report);

} // namespace logging2::tools
