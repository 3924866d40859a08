#pragma once

#include <tools/compare/Extent.hpp>
#include <tools/compare/Fifo.hpp>
#include <tools/compare/Line.hpp>
#include <tools/compare/SampleSource.hpp>

#include <cmath>
#include <cstddef>

namespace logging2::tools {

/// How samples become a curve.
struct CurveShape {
    std::size_t width = 1; ///< the number of elements
    /// Whether a value holds until the next sample, where the step is vertical. Otherwise the
    /// samples are joined by straight lines.
    bool holds = false;
    /// How far the window reaches to both sides of the present time.
    double timeTolerance = 0;
};

/// The points of a curve, which are read when they are needed. They are numbered from 0; the first
/// ones can be discarded.
class CurvePoints {
public:
    /// The source must outlive the points. Reads the first sample.
    CurvePoints(SampleSource& sampleSource, const CurveShape& curveShape);

    /// Whether all times so far are finite, and none is less than the one before. If not, the
    /// points end there.
    bool isOrdered() const noexcept { return ordered; }

    /// The points that are kept are those from first to end.
    std::size_t first() const noexcept { return points.first(); }
    std::size_t end() const noexcept { return points.end(); }

    /// Whether there is a point with this number; reads as many samples as are needed.
    bool load(std::size_t number) { return number < end() || loadUntil(number); }

    /// The points before this number are no longer needed.
    void discardBefore(std::size_t number) {
        if (first() < number) {
            const std::size_t count = number - first();
            points.removeFirst(count);
            values.removeFirst(count * width);
        }
    }

    double timeOf(std::size_t number) const { return points[number].time; }
    std::size_t stepOf(std::size_t number) const { return points[number].step; }
    double valueOf(std::size_t number, std::size_t element) const {
        return values[number * width + element];
    }

    /// The value at this time, which lies between the point with this number and the one before.
    double valueBefore(std::size_t number, std::size_t element, double time) const {
        return interpolated(timeOf(number - 1), valueOf(number - 1, element), timeOf(number),
                            valueOf(number, element), time);
    }

    /// The same at two times.
    Line lineBefore(std::size_t number, std::size_t element, double begin, double end) const {
        const double value0 = valueOf(number - 1, element);
        const double value1 = valueOf(number, element);
        if (value0 == value1) {
            return {value0, value0};
        }
        if (!std::isfinite(value0) || !std::isfinite(value1)) {
            const double between = valueBefore(number, element, begin);
            return {between, between};
        }
        const Point& point1 = points[number];
        const double time0 = timeOf(number - 1);
        const auto at = [&](double time) {
            const double share = (time - time0) * point1.perTime;
            return time == point1.time ? value1 : value0 * (1 - share) + value1 * share;
        };
        return {at(begin), at(end)};
    }

private:
    struct Point {
        double time;
        double perTime; ///< 1 / (time - time of the point before)
        std::size_t step;
    };

    bool loadUntil(std::size_t number);
    void loadNext();
    void append(double time, std::size_t step);
    void hold(double time);

    SampleSource& source;
    std::size_t width;
    bool holds;
    bool ordered = true;
    bool hasEnded = false;
    Fifo<Point> points;
    Fifo<double> values;
};

} // namespace logging2::tools
