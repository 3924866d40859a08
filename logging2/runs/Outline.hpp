#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace logging2::core {

/// What a line through the samples of one element looks like within an interval of time.
struct OutlineBucket {
    /// How many samples are in the bucket. Without any, the rest has its defaults.
    std::size_t sampleCount = 0;

    /// The time of the sample that was logged first.
    double firstTime = std::numeric_limits<double>::quiet_NaN();

    /// The time of the sample that was logged last.
    double lastTime = std::numeric_limits<double>::quiet_NaN();

    /// The value of the sample that was logged first, whatever it is.
    double first = std::numeric_limits<double>::quiet_NaN();

    /// The value of the sample that was logged last, whatever it is.
    double last = std::numeric_limits<double>::quiet_NaN();

    /// The least finite value; +infinity if there is none.
    double least = std::numeric_limits<double>::infinity();

    /// The greatest finite value; -infinity if there is none.
    double greatest = -std::numeric_limits<double>::infinity();

    /// Whether one of the values is NaN.
    bool hasNan = false;

    /// Whether one of the values is +infinity.
    bool hasPositiveInfinity = false;

    /// Whether one of the values is -infinity.
    bool hasNegativeInfinity = false;
};

/// Widens the ranges of a bucket by a value.
inline void include_value(OutlineBucket& bucket, double value) noexcept {
    if (std::isfinite(value)) {
        bucket.least = std::min(bucket.least, value);
        bucket.greatest = std::max(bucket.greatest, value);
    } else if (std::isnan(value)) {
        bucket.hasNan = true;
    } else {
        (value > 0 ? bucket.hasPositiveInfinity : bucket.hasNegativeInfinity) = true;
    }
}

/// Adds the sample that was logged next to a bucket.
inline void add_sample(OutlineBucket& bucket, double time, double value) noexcept {
    if (bucket.sampleCount++ == 0) {
        bucket.firstTime = time;
        bucket.first = value;
    }
    bucket.lastTime = time;
    bucket.last = value;
    include_value(bucket, value);
}

/// One element of a signal, as B intervals of time of the same length show it. The samples are
/// divided among the buckets as those of an Overview are.
using Outline = std::vector<OutlineBucket>;

} // namespace logging2::core
