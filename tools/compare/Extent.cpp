#include <tools/compare/Extent.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

} // namespace

double interpolated(double time0, double value0, double time1, double value1, double time) {
    if (value0 == value1) {
        return value0;
    }
    if (std::isinf(value0) || std::isinf(value1)) {
        return value0 + value1;
    }
    const double share = (time - time0) / (time1 - time0);
    return value0 * (1 - share) + value1 * share;
}

void Extent::include(double value) noexcept {
    if (std::isfinite(value)) {
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    } else if (std::isnan(value)) {
        hasNan = true;
    } else {
        (value > 0 ? hasPositiveInfinity : hasNegativeInfinity) = true;
    }
}

double Extent::deviationOf(double value) const noexcept {
    if (std::isnan(value)) {
        return hasNan ? 0 : nan;
    }
    if (std::isinf(value)) {
        return deviationOfInfinity(value > 0 ? hasPositiveInfinity : hasNegativeInfinity);
    }
    if (hasFinite()) {
        return std::max({0.0, value - greatest, least - value});
    }
    return deviationOfInfinity(false);
}

double Extent::deviationOfInfinity(bool isMatched) const noexcept {
    if (isMatched) {
        return 0;
    }
    return hasFinite() || hasPositiveInfinity || hasNegativeInfinity ? infinity : nan;
}

} // namespace logging2::tools
