#include <tools/compare/SlidingExtent.hpp>

#include <cmath>

namespace logging2::tools {
void SlidingExtent::enter(std::size_t number, double value) {
    if (!std::isfinite(value)) {
        ++countOf(value);
        return;
    }
    if (!rising.empty() && rising.back().value == value && falling.back().value == value) {
        rising.back().number = falling.back().number = number; // as where a value is held
        return;
    }
    while (!rising.empty() && rising.back().value >= value) {
        rising.removeLast();
    }
    rising.append({number, value});
    while (!falling.empty() && falling.back().value <= value) {
        falling.removeLast();
    }
    falling.append({number, value});
}

void SlidingExtent::leave(std::size_t number, double value) {
    if (!std::isfinite(value)) {
        --countOf(value);
        return;
    }
    if (rising.front().number == number) {
        rising.removeFirst();
    }
    if (falling.front().number == number) {
        falling.removeFirst();
    }
}

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
