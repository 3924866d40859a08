#pragma once

#include <tools/compare/CurvePoints.hpp>
#include <tools/compare/SlidingExtent.hpp>

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

namespace logging2::tools {

/// The curve of a signal through its samples, seen through a window around the present time.
/// Samples with the same time are a vertical segment.
///
/// The present time only ascends. The curve keeps the points in the window and a few at either side
/// of it, so the memory is bounded by the samples of a window.
class Polyline {
public:
    /// The source must outlive the polyline, which reads the first sample. There is no present time
    /// before the first move.
    Polyline(SampleSource& source, const CurveShape& shape)
        : points(source, shape),
          reach(shape.timeTolerance),
          extents(reach > 0 ? shape.width : 0),
          extentCount(extents.size()) {}

    /// Whether all times so far are finite, and none is less than the one before. If not, the curve
    /// ends there.
    bool isOrdered() const noexcept { return points.isOrdered(); }

    /// The time of the next point after the present time; +infinity if there is none.
    double nextTime() const noexcept {
        return hereEnd < points.end() ? points.timeOf(hereEnd) : infinity;
    }

    /// Goes to a later time.
    void moveTo(double time) {
        present = time;
        enterUntil(time + reach);
        leaveBefore(time - reach);
        for (here = hereEnd; here < points.end() && points.timeOf(here) < time; ++here) {
        }
        for (hereEnd = here; hereEnd < points.end() && points.timeOf(hereEnd) == time; ++hereEnd) {
        }
        points.discardBefore(low > 0 ? low - 1 : 0);
    }

    /// The number of values at the present time: those of the points, one if it is between two
    /// points, none if it is before the first or after the last one.
    std::size_t valueCount() const noexcept { return isBetweenPoints() ? 1 : hereEnd - here; }

    /// The value of an element at the present time.
    double value(std::size_t index, std::size_t element) const {
        return isBetweenPoints() ? points.valueBefore(here, element, present)
                                 : points.valueOf(here + index, element);
    }

    /// Whether the curve goes on after the present time.
    bool goesOn() const noexcept { return hereEnd > points.first() && hereEnd < points.end(); }

    /// The values of an element at two times on the straight line from the point before the present
    /// time, or at it, to the next one, if the curve goes on. A time may be that of an end.
    Line valuesOnLine(double begin, double end, std::size_t element) const {
        return points.lineBefore(hereEnd, element, begin, end);
    }

    /// The next time after this one, which is the present one or later, when a point enters or
    /// leaves the window; +infinity if there is none.
    double nextChange(double time) {
        return std::min(firstTimeAfter(time, high, -reach), firstTimeAfter(time, low, reach));
    }

    /// The finite values of an element at the points in the window, which has a length.
    FiniteRange pointRange(std::size_t element) const { return extents[element].finiteRange(); }

    /// The values where the window begins, while its centre goes from one time to another. The
    /// present time lies between them, and no point enters or leaves the window meanwhile. NaN if
    /// the curve has no value there.
    Line leftLine(double begin, double end, std::size_t element) const {
        return hasLeftEdge() ? points.lineBefore(low, element, begin - reach, end - reach)
                             : Line{nan, nan};
    }

    /// The same where the window ends.
    Line rightLine(double begin, double end, std::size_t element) const {
        return hasRightEdge() ? points.lineBefore(high, element, begin + reach, end + reach)
                              : Line{nan, nan};
    }

    /// Whether a line keeps within what is allowed of finite values that the window, which has a
    /// length, contains wherever its centre is from the present time to this one; false if that
    /// takes a closer look. If it is asked once for each of a row of intervals, the cost per point
    /// is constant.
    bool surelyContains(const Line& line, double end, double allowed, std::size_t element) const;

    /// The step of this value: the last one up to there.
    std::size_t step(std::size_t index) const {
        return points.stepOf(isBetweenPoints() ? here - 1 : here + index);
    }

    /// The last step up to the present time; empty if there is none.
    std::optional<std::size_t> lastStep() const {
        return hereEnd == 0 ? std::nullopt : std::optional(points.stepOf(hereEnd - 1));
    }

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
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();

    void enterUntil(double time) {
        for (; points.load(high) && points.timeOf(high) <= time; ++high) {
            for (std::size_t element = 0; element < extentCount; ++element) {
                extents[element].enter(high, points.valueOf(high, element));
            }
        }
    }

    void leaveBefore(double time) {
        for (; low < high && points.timeOf(low) < time; ++low) {
            for (std::size_t element = 0; element < extentCount; ++element) {
                extents[element].leave(low, points.valueOf(low, element));
            }
        }
    }

    /// The first shifted time after this one, of the points from the number on.
    double firstTimeAfter(double time, std::size_t number, double shift) {
        for (; points.load(number); ++number) {
            const double shifted = points.timeOf(number) + shift;
            if (shifted > time) {
                return shifted;
            }
        }
        return infinity;
    }

    FiniteRange finiteRange(double value, std::size_t element) const;
    template <class Range>
    void includePresent(Range& range, std::size_t element) const {
        for (std::size_t index = 0; index < valueCount(); ++index) {
            range.include(value(index, element));
        }
    }
    template <class Range>
    void includeEdges(Range& range, std::size_t element) const {
        if (hasLeftEdge()) {
            range.include(leftEdge(element));
        }
        if (hasRightEdge()) {
            range.include(rightEdge(element));
        }
    }
    /// Whether the time lies between two points, the second of which is the first one that is not
    /// before this time.
    bool isBetweenPoints(std::size_t second, double time) const {
        return second > points.first() && second < points.end() && points.timeOf(second) > time;
    }
    /// Whether the window begins between two points.
    bool hasLeftEdge() const { return isBetweenPoints(low, present - reach); }
    /// Whether the window ends between two points.
    bool hasRightEdge() const {
        return high > points.first() && high < points.end() &&
               points.timeOf(high - 1) < present + reach;
    }
    double leftEdge(std::size_t element) const {
        return points.valueBefore(low, element, present - reach);
    }
    double rightEdge(std::size_t element) const {
        return points.valueBefore(high, element, present + reach);
    }
    bool isBetweenPoints() const noexcept {
        return here == hereEnd && here > points.first() && here < points.end();
    }

    CurvePoints points;
    double reach; ///< of the window, to both sides
    double present = 0;
    /// Of the points from low to high, for each element; empty if the window has no length.
    std::vector<SlidingExtent> extents;
    std::size_t extentCount;
    std::size_t low = 0;     ///< the first point in the window
    std::size_t high = 0;    ///< the first point after the window
    std::size_t here = 0;    ///< the first point at the present time or later
    std::size_t hereEnd = 0; ///< the first point after the present time
};

} // namespace logging2::tools
