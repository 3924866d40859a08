#include <tools/compare/Polyline.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {

Polyline::Polyline(SampleSource& sampleSource, const CurveShape& curveShape)
    : source(sampleSource),
      shape(curveShape),
      extents(hasWindow() ? shape.width : 0) {
    load();
}

void Polyline::moveTo(double time) {
    present = time;
    enterUntil(time + shape.timeTolerance);
    leaveBefore(time - shape.timeTolerance);
    for (here = hereEnd; here < end() && timeOf(here) < time; ++here) {
    }
    for (hereEnd = here; hereEnd < end() && timeOf(hereEnd) == time; ++hereEnd) {
    }
    discard();
}

std::size_t Polyline::step(std::size_t index) const {
    return points[(isBetweenPoints() ? here - 1 : here + index) - first].step;
}

std::optional<std::size_t> Polyline::lastStep() const {
    if (hereEnd == 0) {
        return std::nullopt;
    }
    return points[hereEnd - 1 - first].step;
}

Extent Polyline::extentOf(std::size_t element) const {
    Extent extent;
    if (hasWindow()) {
        extent = extents[element].extent();
        includeEdges(extent, element);
    }
    includePresent(extent, element);
    return extent;
}

std::optional<double> Polyline::deviationOf(double value, std::size_t element) const {
    if (hasWindow() && extents[element].finiteRange().contains(value)) {
        return 0; // The edges could only make the extent larger.
    }
    const Extent extent = extentOf(element);
    return extent.isEmpty() ? std::nullopt : std::optional<double>(extent.deviationOf(value));
}

void Polyline::includePresent(Extent& extent, std::size_t element) const {
    for (std::size_t index = 0; index < valueCount(); ++index) {
        extent.include(value(index, element));
    }
}

bool Polyline::hasAround(double value, double presentValue, std::size_t element) const {
    if (!hasWindow()) {
        return false;
    }
    FiniteRange range = extents[element].finiteRange();
    const auto reaches = [&range, value](std::optional<double> further) {
        if (further) {
            range.include(*further);
        }
        return range.contains(value);
    };
    return range.contains(value) || reaches(presentValue) || reaches(leftEdge(element)) ||
           reaches(rightEdge(element));
}

void Polyline::includeEdges(Extent& extent, std::size_t element) const {
    for (const std::optional<double>& edge : {leftEdge(element), rightEdge(element)}) {
        if (edge) {
            extent.include(*edge);
        }
    }
}

/// Whether the window begins between two points.
bool Polyline::hasLeftEdge() const {
    return low > first && low < end() && timeOf(low) > present - shape.timeTolerance;
}

/// Whether the window ends between two points.
bool Polyline::hasRightEdge() const {
    return high > first && high < end() && timeOf(high - 1) < present + shape.timeTolerance;
}

std::optional<double> Polyline::leftEdge(std::size_t element) const {
    return hasLeftEdge() ? std::optional(valueBefore(low, element, present - shape.timeTolerance))
                         : std::nullopt;
}

std::optional<double> Polyline::rightEdge(std::size_t element) const {
    return hasRightEdge() ? std::optional(valueBefore(high, element, present + shape.timeTolerance))
                          : std::nullopt;
}

double Polyline::nextChange(double time) {
    const auto firstAfter = [this, time](std::size_t number, double shift) {
        for (; isLoaded(number); ++number) {
            if (timeOf(number) + shift > time) {
                return timeOf(number) + shift;
            }
        }
        return std::numeric_limits<double>::infinity();
    };
    return std::min(firstAfter(high, -shape.timeTolerance), firstAfter(low, shape.timeTolerance));
}

WindowEdges Polyline::edges(double begin, double end, std::size_t element) const {
    WindowEdges result;
    const FiniteRange range = extents[element].finiteRange();
    result.add({range.least, range.least});
    result.add({range.greatest, range.greatest});
    const double reach = shape.timeTolerance;
    if (hasLeftEdge()) {
        result.add(lineBefore(low, element, begin - reach, end - reach));
    }
    if (hasRightEdge()) {
        result.add(lineBefore(high, element, begin + reach, end + reach));
    }
    return result;
}

void Polyline::load() {
    const Sample* const sample = ordered ? source.next() : nullptr;
    if (sample == nullptr) {
        hasEnded = true;
        return;
    }
    const bool ascends = points.empty() || points.back().time <= sample->time;
    ordered = std::isfinite(sample->time) && ascends;
    if (!ordered) {
        hasEnded = true;
        return;
    }
    if (shape.holds && !points.empty() && points.back().time < sample->time) {
        hold(sample->time);
    }
    append(*sample);
}

/// Whether there is a point with this number; reads as many samples as are needed.
bool Polyline::isLoaded(std::size_t number) {
    while (number >= end() && !hasEnded) {
        load();
    }
    return number < end();
}

void Polyline::append(const Sample& sample) {
    points.append({sample.time, sample.step});
    values.append(sample.values.data(), sample.values.size());
}

/// Appends a point at this time with the values of the last one.
void Polyline::hold(double time) {
    points.append({time, points.back().step});
    for (std::size_t element = 0; element < shape.width; ++element) {
        const double value = values[values.size() - shape.width];
        values.append(value);
    }
}

void Polyline::enterUntil(double time) {
    for (;; ++high) {
        if (!isLoaded(high) || timeOf(high) > time) {
            return;
        }
        for (std::size_t element = 0; element < extents.size(); ++element) {
            extents[element].enter(high, valueOf(high, element));
        }
    }
}

void Polyline::leaveBefore(double time) {
    for (; low < high && timeOf(low) < time; ++low) {
        for (std::size_t element = 0; element < extents.size(); ++element) {
            extents[element].leave(low, valueOf(low, element));
        }
    }
}

/// Keeps one point before the window.
void Polyline::discard() {
    if (first + 1 < low) {
        const std::size_t count = low - 1 - first;
        points.removeFirst(count);
        values.removeFirst(count * shape.width);
        first += count;
    }
}

} // namespace logging2::tools
