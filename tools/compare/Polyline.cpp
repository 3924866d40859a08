#include <tools/compare/Polyline.hpp>

#include <cmath>

namespace logging2::tools {

Extent Polyline::extentOf(std::size_t element) const {
    Extent extent;
    if (!extents.empty()) {
        extent = extents[element].extent();
        includeEdges(extent, element);
    }
    includePresent(extent, element);
    return extent;
}

std::optional<double> Polyline::deviationOf(double value, std::size_t element) const {
    if (std::isfinite(value)) {
        const FiniteRange range = finiteRange(value, element);
        if (!range.isEmpty()) {
            return range.distanceTo(value);
        }
    }
    const Extent extent = extentOf(element);
    return extent.isEmpty() ? std::nullopt : std::optional<double>(extent.deviationOf(value));
}

/// That of the finite values in the window, or a part of it that contains the value.
FiniteRange Polyline::finiteRange(double value, std::size_t element) const {
    FiniteRange range;
    if (!extents.empty()) {
        range = extents[element].finiteRange();
        if (range.contains(value)) {
            return range;
        }
        includeEdges(range, element);
    }
    includePresent(range, element);
    return range;
}

bool Polyline::hasAround(double value, double presentValue, std::size_t element) const {
    if (extents.empty()) {
        return false;
    }
    FiniteRange range = extents[element].finiteRange();
    range.include(presentValue);
    if (!range.contains(value) && std::isfinite(value)) {
        includeEdges(range, element);
    }
    return range.contains(value);
}

WindowEdges Polyline::edges(double begin, double end, std::size_t element) const {
    WindowEdges result;
    result.points = extents[element].finiteRange();
    if (hasLeftEdge()) {
        result.add(points.lineBefore(low, element, begin - reach, end - reach));
    }
    if (hasRightEdge()) {
        result.add(points.lineBefore(high, element, begin + reach, end + reach));
    }
    return result;
}

FiniteRange Polyline::commonRange(double end, std::size_t element) {
    const double begin = end - reach;
    if (begin > present + reach) {
        return {};
    }
    std::size_t number = low;
    while (number < high && points.timeOf(number) < begin) {
        ++number; // It leaves the window before the end, so each point is skipped once.
    }
    FiniteRange range = extents[element].finiteRangeFrom(number);
    if (isBefore(number, begin)) {
        range.include(points.valueBefore(number, element, begin));
    }
    if (hasRightEdge()) {
        range.include(rightEdge(element));
    }
    return range;
}

} // namespace logging2::tools
