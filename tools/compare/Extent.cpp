#include <tools/compare/Extent.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

} // namespace

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
    if (hasFinite() || hasPositiveInfinity || hasNegativeInfinity) {
        return infinity;
    }
    return nan;
}

} // namespace logging2::tools
