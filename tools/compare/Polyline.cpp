#include <tools/compare/Polyline.hpp>

#include <cmath>
#include <limits>

namespace logging2::tools {

Polyline::Polyline(SampleSource& sampleSource, const CurveShape& curveShape)
    : source(sampleSource),
      shape(curveShape),
      extents(shape.width) {
    load();
}

double Polyline::nextTime() const noexcept {
    return hereEnd < end() ? timeOf(hereEnd) : std::numeric_limits<double>::infinity();
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

std::size_t Polyline::valueCount() const noexcept {
    return isBetweenPoints() ? 1 : hereEnd - here;
}

double Polyline::value(std::size_t index, std::size_t element) const {
    return isBetweenPoints() ? valueBefore(here, element, present) : valueOf(here + index, element);
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

Extent Polyline::extent(std::size_t element) const {
    Extent result = extents[element].extent();
    if (isBetweenPoints()) {
        result.include(valueBefore(here, element, present));
    }
    const double left = present - shape.timeTolerance;
    if (low > first && low < end() && timeOf(low) > left) {
        result.include(valueBefore(low, element, left));
    }
    const double right = present + shape.timeTolerance;
    if (high > first && high < end() && timeOf(high - 1) < right) {
        result.include(valueBefore(high, element, right));
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

void Polyline::append(const Sample& sample) {
    points.push_back({sample.time, sample.step});
    values.insert(values.end(), sample.values.begin(), sample.values.end());
}

/// Appends a point at this time with the values of the last one.
void Polyline::hold(double time) {
    points.push_back({time, points.back().step});
    for (std::size_t element = 0; element < shape.width; ++element) {
        values.push_back(values[values.size() - shape.width]);
    }
}

void Polyline::enterUntil(double time) {
    for (;; ++high) {
        while (high >= end() && !hasEnded) {
            load();
        }
        if (high >= end() || timeOf(high) > time) {
            return;
        }
        for (std::size_t element = 0; element < shape.width; ++element) {
            extents[element].enter(high, valueOf(high, element));
        }
    }
}

void Polyline::leaveBefore(double time) {
    for (; low < high && timeOf(low) < time; ++low) {
        for (std::size_t element = 0; element < shape.width; ++element) {
            extents[element].leave(low, valueOf(low, element));
        }
    }
}

/// Keeps one point before the window.
void Polyline::discard() {
    for (; first + 1 < low; ++first) {
        points.pop_front();
        values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(shape.width));
    }
}

double Polyline::valueBefore(std::size_t number, std::size_t element, double time) const {
    return interpolated(timeOf(number - 1), valueOf(number - 1, element), timeOf(number),
                        valueOf(number, element), time);
}

bool Polyline::isBetweenPoints() const noexcept {
    return here == hereEnd && here > first && here < end();
}

} // namespace logging2::tools
