#pragma once

#include <cmath>

namespace logging2::tools {

/// A number that changes evenly in an interval of time.
struct Line {
    double begin = 0;
    double end = 0;

    /// After a share of the interval.
    double at(double share) const noexcept {
        return share == 0 ? begin : share == 1 ? end : begin + (end - begin) * share;
    }

    bool isFinite() const noexcept { return std::isfinite(begin) && std::isfinite(end); }

    /// Whether it is nowhere above the other one by more than is allowed.
    bool staysBelow(const Line& other, double allowed) const noexcept {
        return begin - other.begin <= allowed && end - other.end <= allowed;
    }

    /// The same for a constant.
    bool staysBelow(double constant, double allowed) const noexcept {
        return begin - constant <= allowed && end - constant <= allowed;
    }

    Line operator-() const noexcept { return {-begin, -end}; }
};

} // namespace logging2::tools
