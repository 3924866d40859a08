#pragma once

#include <tools/compare/Comparison.hpp>
#include <tools/compare/Tolerances.hpp>
#include <tools/selection/TimeRange.hpp>

#include <logging2/runs/runs.hpp>

#include <functional>
#include <string>
#include <vector>

namespace logging2::tools {

/// How two runs are compared.
struct RunComparisonSettings {
    /// Whether all signals are compared by the bits of their times and values.
    bool isExact = false;
    Tolerances tolerances = Tolerances(Tolerance());
    std::vector<std::string> held; ///< patterns of signals whose value holds until the next sample
    std::vector<std::string> ignored; ///< patterns of signals that are left out
    TimeRange range;
};

/// How a signal was compared.
enum class Method {
    linear, ///< as a curve of straight lines
    hold,   ///< as a curve of values that hold
    exact   ///< bit by bit
};

/// A signal of both runs.
struct SignalComparison {
    std::string path;
    std::size_t width = 0;
    Method method = Method::linear;
    bool isOrdered = true; ///< If not, its times do not ascend or are not finite, so it is exact.
    Tolerance tolerance;
    Comparison comparison;
};

/// A signal that has not the same width in both runs.
struct WidthChange {
    std::string path;
    std::size_t widthA = 0;
    std::size_t widthB = 0;
};

/// How two runs differ.
struct RunComparison {
    std::vector<std::string> onlyA;
    std::vector<std::string> onlyB;
    std::vector<WidthChange> widths;
    std::vector<SignalComparison> signals; ///< in the order of the first run

    bool differs() const;
    /// How many signals differ, are missing, or have another width.
    std::size_t differenceCount() const;
    /// How many signals at least one run has.
    std::size_t signalCount() const;
};

/// Is called with the number of samples of the run a that are compared, and with that of all.
using ComparisonProgress = std::function<void(std::size_t, std::size_t)>;

/// Compares the run b with the reference a. Holds a few blocks of samples and those in the window
/// of the time tolerance. Throws UsageError if a pattern matches no signal, or if there is nothing
/// to compare.
RunComparison compare_runs(const core::Run& a, const core::Run& b,
                           const RunComparisonSettings& settings,
                           const ComparisonProgress& progress);

} // namespace logging2::tools
