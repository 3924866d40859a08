#pragma once

#include <tools/compare/Fifo.hpp>
#include <tools/compare/SampleSource.hpp>
#include <tools/compare/SlidingExtent.hpp>
#include <tools/compare/WindowEdges.hpp>

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

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

/// The curve of a signal through its samples, seen through a window around the present time.
/// Samples with the same time are a vertical segment.
///
/// The present time only ascends. The curve keeps the points in the window and one at either side
/// of it, so the memory is bounded by the samples of a window.
class Polyline {
public:
    /// The source must outlive the polyline, which reads the first sample. There is no present time
    /// before the first move.
    Polyline(SampleSource& sampleSource, const CurveShape& curveShape);

    /// Whether all times so far are finite, and none is less than the one before. If not, the curve
    /// ends there.
    bool isOrdered() const noexcept { return ordered; }

    /// The time of the next point after the present time; +infinity if there is none.
    double nextTime() const noexcept {
        return hereEnd < end() ? timeOf(hereEnd) : std::numeric_limits<double>::infinity();
    }

    /// Goes to a later time.
    void moveTo(double time);

    /// The number of values at the present time: those of the points, one if it is between two
    /// points, none if it is before the first or after the last one.
    std::size_t valueCount() const noexcept { return isBetweenPoints() ? 1 : hereEnd - here; }

    /// The value of an element at the present time.
    double value(std::size_t index, std::size_t element) const {
        return isBetweenPoints() ? valueBefore(here, element, present)
                                 : valueOf(here + index, element);
    }

    /// Whether the curve goes on after the present time.
    bool goesOn() const noexcept { return hereEnd > first && hereEnd < end(); }

    /// The values of an element at two times on the straight line from the point before the present
    /// time, or at it, to the next one, if the curve goes on. A time may be that of an end.
    Line valuesOnLine(double begin, double end, std::size_t element) const {
        return lineBefore(hereEnd, element, begin, end);
    }

    /// The next time after this one, which is the present one or later, when a point enters or
    /// leaves the window; +infinity if there is none.
    double nextChange(double time);

    /// What the window sees of an element while its centre goes from one time to another. The
    /// present time lies between them, and no point enters or leaves the window meanwhile.
    WindowEdges edges(double begin, double end, std::size_t element) const;

    /// The step of this value: the last one up to there.
    std::size_t step(std::size_t index) const;

    /// The last step up to the present time; empty if there is none.
    std::optional<std::size_t> lastStep() const;

    /// The values of an element within the window; empty if the curve has none there.
    Extent extentOf(std::size_t element) const;

    /// How far the value lies from those of an element within the window, as in
    /// Extent::deviationOf; empty if the curve has no value there.
    std::optional<double> deviationOf(double value, std::size_t element) const;

    /// Whether the value lies between finite ones of the window, so that its deviation is 0.
    /// Quicker than deviationOf, and false if there is no window. The present value is that of
    /// value(0).
    bool hasAround(double value, double presentValue, std::size_t element) const;

private:
    struct Point {
        double time;
        std::size_t step;
    };

    // The points are numbered from 0; `first` is the oldest one that is kept.
    std::size_t end() const noexcept { return first + points.size(); }
    double timeOf(std::size_t number) const { return points[number - first].time; }
    double valueOf(std::size_t number, std::size_t element) const {
        return values[(number - first) * shape.width + element];
    }

    void load();
    bool isLoaded(std::size_t number);
    void append(const Sample& sample);
    void hold(double time);
    void enterUntil(double time);
    void leaveBefore(double time);
    void discard();
    void includePresent(Extent& extent, std::size_t element) const;
    void includeEdges(Extent& extent, std::size_t element) const;
    bool hasLeftEdge() const;
    bool hasRightEdge() const;
    std::optional<double> leftEdge(std::size_t element) const;
    std::optional<double> rightEdge(std::size_t element) const;
    bool hasWindow() const noexcept { return shape.timeTolerance > 0; }
    /// The value at this time, which lies between the point with this number and the one before.
    double valueBefore(std::size_t number, std::size_t element, double time) const {
        return interpolated(timeOf(number - 1), valueOf(number - 1, element), timeOf(number),
                            valueOf(number, element), time);
    }
    /// The same at two times, for one division.
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
        const double time0 = timeOf(number - 1);
        const double time1 = timeOf(number);
        const double perTime = 1 / (time1 - time0);
        const auto at = [=](double time) {
            const double share = (time - time0) * perTime;
            return time == time1 ? value1 : value0 * (1 - share) + value1 * share;
        };
        return {at(begin), at(end)};
    }
    bool isBetweenPoints() const noexcept {
        return here == hereEnd && here > first && here < end();
    }

    SampleSource& source;
    CurveShape shape;
    bool ordered = true;
    bool hasEnded = false;
    double present = 0;
    Fifo<Point> points;
    Fifo<double> values;
    /// Of the points from low to high, for each element; empty if the window has no length.
    std::vector<SlidingExtent> extents;
    std::size_t first = 0;
    std::size_t low = 0;     ///< the first point in the window
    std::size_t high = 0;    ///< the first point after the window
    std::size_t here = 0;    ///< the first point at the present time or later
    std::size_t hereEnd = 0; ///< the first point after the present time
};

} // namespace logging2::tools
