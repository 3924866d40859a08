#include <tools/compare/Polyline.hpp>

#include <cmath>

namespace logging2::tools {
namespace {

bool is_near(const Line& line, const FiniteRange& range, double allowed) {
    return !range.isEmpty() && line.staysBelow(range.greatest, allowed) &&
           (-line).staysBelow(-range.least, allowed);
}

} // namespace

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
    if (!range.contains(value) && hasLeftEdge()) {
        range.include(leftEdge(element));
    }
    if (!range.contains(value) && hasRightEdge()) {
        range.include(rightEdge(element));
    }
    return range.contains(value);
}

bool Polyline::surelyContains(const Line& line, double end, double allowed,
                              std::size_t element) const {
    // Every window contains what is between the beginning of the last one and the end of the first.
    const double begin = end - reach;
    if (!(begin < present + reach)) {
        return false;
    }
    std::size_t number = low;
    while (number < high && points.timeOf(number) < begin) {
        ++number; // It leaves the window before the end, so it is not there in the next interval.
    }
    FiniteRange range = extents[element].finiteRangeFrom(number);
    if (is_near(line, range, allowed)) {
        return true;
    }
    if (isBetweenPoints(number, begin)) {
        range.include(points.valueBefore(number, element, begin));
    }
    if (hasRightEdge()) {
        range.include(rightEdge(element));
    }
    return is_near(line, range, allowed);
}

} // namespace logging2::tools
