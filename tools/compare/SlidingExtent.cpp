#include <tools/compare/SlidingExtent.hpp>

#include <limits>

namespace logging2::tools {

Extent SlidingExtent::extent() const {
    Extent result;
    if (!rising.empty()) {
        result.include(rising.front().value);
        result.include(falling.front().value);
    }
    if (nanCount > 0) {
        result.include(std::numeric_limits<double>::quiet_NaN());
    }
    if (positiveCount > 0) {
        result.include(infinity);
    }
    if (negativeCount > 0) {
        result.include(-infinity);
    }
    return result;
}

std::size_t& SlidingExtent::countOf(double value) {
    if (std::isnan(value)) {
        return nanCount;
    }
    return value > 0 ? positiveCount : negativeCount;
}

} // namespace logging2::tools
