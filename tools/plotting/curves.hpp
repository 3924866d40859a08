#pragma once

#include <tools/selection/TimeRange.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools {

/// A point of a curve. The curve has a gap at a point that is not finite.
struct Point {
    double time;
    double value;
};

/// One element of a signal over time.
struct Curve {
    std::string title;
    std::vector<Point> points;
};

/// The range of the times of all these signals, cut to the given range. It is finite, and it is
/// {0, 1} if there is no sample in it.
TimeRange plotted_range(const core::Run& run, const std::vector<core::SignalInfo>& signals,
                        const TimeRange& range);

/// A curve for each element of the signal. It has the samples themselves if there are few, and
/// otherwise the least and the greatest value in each of bucketCount intervals of time. The range
/// is finite. If it contains many samples, they are not read.
std::vector<Curve> curves_of(const core::Run& run, const core::SignalInfo& signal,
                             const TimeRange& range, std::size_t bucketCount);

} // namespace logging2::tools
