#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace logging2::tools {

inline constexpr double infinity = std::numeric_limits<double>::infinity();

/// The value at a time between two samples, on the straight line. If it is infinite at one end, it
/// is infinite in between; if it is NaN at one end, or +infinity at one and -infinity at the other,
/// it is NaN in between.
inline double interpolated(double time0, double value0, double time1, double value1, double time) {
    if (value0 == value1) {
        return value0;
    }
    if (std::isinf(value0) || std::isinf(value1)) {
        return value0 + value1;
    }
    const double share = (time - time0) / (time1 - time0);
    return value0 * (1 - share) + value1 * share;
}

/// From the least to the greatest one of finite values.
struct FiniteRange {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();

    void include(double value) noexcept {
        if (std::isfinite(value)) {
            least = std::min(least, value);
            greatest = std::max(greatest, value);
        }
    }

    bool isEmpty() const noexcept { return !(least <= greatest); }

    bool contains(double value) const noexcept { return least <= value && value <= greatest; }

    double distanceTo(double value) const noexcept {
        return std::max({0.0, value - greatest, least - value});
    }
};

/// The values that a signal takes within a window of time: all from the least to the greatest
/// finite one, and those that are not finite.
class Extent {
public:
    void include(double value) noexcept {
        if (std::isfinite(value)) {
            least = std::min(least, value);
            greatest = std::max(greatest, value);
        } else if (std::isnan(value)) {
            hasNan = true;
        } else {
            (value > 0 ? hasPositiveInfinity : hasNegativeInfinity) = true;
        }
    }

    /// The least finite value; +infinity if there is none.
    double low() const noexcept { return least; }

    /// The greatest finite value; -infinity if there is none.
    double high() const noexcept { return greatest; }

    bool isEmpty() const noexcept {
        return !hasFinite() && !hasNan && !hasPositiveInfinity && !hasNegativeInfinity;
    }

    /// How far the value lies from the extent: 0 if it belongs to it, NaN if one of them is NaN and
    /// the other one is not. An infinity is infinitely far from everything else. The extent is not
    /// empty.
    double deviationOf(double value) const noexcept;

private:
    bool hasFinite() const noexcept { return least <= greatest; }
    double deviationOfInfinity(bool isMatched) const noexcept;

    double least = infinity;
    double greatest = -infinity;
    bool hasNan = false;
    bool hasPositiveInfinity = false;
    bool hasNegativeInfinity = false;
};

/// How far two values lie apart, as in Extent::deviationOf.
inline double deviation_between(double a, double b) {
    Extent extent;
    extent.include(a);
    return extent.deviationOf(b);
}

} // namespace logging2::tools
