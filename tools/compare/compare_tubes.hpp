#pragma once

#include <tools/compare/Comparison.hpp>
#include <tools/compare/SampleSource.hpp>

#include <functional>
#include <limits>
#include <optional>
#include <vector>

namespace logging2::tools {

/// How far two signals may lie apart.
struct TubeSettings {
    /// For each element, the greatest deviation that is allowed. As many as the signals are wide.
    std::vector<double> allowed;
    double timeTolerance = 0;
    /// Whether a value holds until the next sample; otherwise, samples are joined by straight
    /// lines.
    bool holds = false;
    /// Only this range of time is compared.
    double from = -std::numeric_limits<double>::infinity();
    double to = std::numeric_limits<double>::infinity();
    /// Is told each time at which the signals differ, and each interval between two samples, in
    /// the order of time for each element; unless it is empty.
    std::function<void(double from, double to)> differenceSink = {};
};

/// Compares two signals of the same width as curves.
///
/// At time t, the tube of a signal reaches from the least to the greatest value that it takes
/// within [t - timeTolerance, t + timeTolerance], and by `allowed` beyond. Each signal must lie in
/// the tube of the other one at each time where one of them has a sample, and between these times.
/// A time for which only one side has a value within the time tolerance is a difference. NaN and
/// the infinities need the same value within the time tolerance.
///
/// Between two neighbouring samples, the curves and the edges of the tubes are straight lines with
/// kinks, so the share of the time that differs is exact but for rounding. The largest deviation is
/// exact if it is not allowed; else it is that at the samples or a greater one. The sources give
/// the samples within the range, the nearest one outside it at either end, and those within the
/// time tolerance. Empty if the times of one of them do not ascend or are not finite.
///
/// The cost is linear in the number of samples, and the memory is bounded by those in the window.
std::optional<Comparison> compare_tubes(SampleSource& a, SampleSource& b,
                                        const TubeSettings& settings);

} // namespace logging2::tools
