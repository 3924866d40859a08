#include <tools/compare/compare_tubes.hpp>

#include <tools/compare/CountingSource.hpp>
#include <tools/compare/IntervalComparison.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

class TubeComparison {
public:
    TubeComparison(SampleSource& sourceA, SampleSource& sourceB, const TubeSettings& tubeSettings)
        : settings(tubeSettings),
          countedA(sourceA, settings.from, settings.to),
          countedB(sourceB, settings.from, settings.to),
          a(countedA, shape()),
          b(countedB, shape()),
          findings(settings),
          intervals(a, b, settings.timeTolerance, findings) {}

    std::optional<Comparison> result() {
        compareAll();
        if (!a.isOrdered() || !b.isOrdered()) {
            return std::nullopt;
        }
        Comparison comparison;
        comparison.a = countedA.summary();
        comparison.b = countedB.summary();
        comparison.hasTimeDifference = findings.hasTimeDifference();
        comparison.worst = findings.worst(duration);
        return comparison;
    }

private:
    CurveShape shape() const {
        return {settings.allowed.size(), settings.holds, settings.timeTolerance};
    }

    void compareAll() {
        std::optional<double> last;
        while (const std::optional<double> time = nextTime(last)) {
            if (last) {
                duration += *time - *last;
                intervals.compare(*last, *time);
            }
            compareSamples(*time);
            last = time;
        }
    }

    /// The next time where one side has a sample, or where the range begins or ends within a curve.
    std::optional<double> nextTime(const std::optional<double>& last) const {
        const double next = std::min(a.nextTime(), b.nextTime());
        const bool isAtEnd = last ? *last >= settings.to : next > settings.to;
        if (isAtEnd || !std::isfinite(next) || !a.isOrdered() || !b.isOrdered()) {
            return std::nullopt;
        }
        return std::clamp(next, settings.from, settings.to);
    }

    void compareSamples(double time) {
        present = time;
        a.moveTo(time);
        b.moveTo(time);
        for (std::size_t element = 0; element < findings.width(); ++element) {
            if (!isSame(element)) {
                findings.tellDifference(time, time);
            }
            findings.tally(element).endSample();
        }
    }

    /// Compares the values at the present time.
    bool isSame(std::size_t element) {
        if (a.valueCount() == 1 && b.valueCount() == 1) {
            const double valueA = a.value(0, element);
            const double valueB = b.value(0, element);
            const bool isInBoth = valueA == valueB || (b.hasAround(valueA, valueB, element) &&
                                                       a.hasAround(valueB, valueA, element));
            if (isInBoth) {
                return true;
            }
            const double deviation = deviation_between(valueA, valueB);
            if (deviation == 0) {
                return true;
            }
            if (settings.timeTolerance == 0) {
                return isAllowed(deviation, element, a, 0);
            }
        }
        const bool isInTubeOfB = isInTube(element, a, b);
        const bool isInTubeOfA = isInTube(element, b, a);
        return isInTubeOfA && isInTubeOfB;
    }

    bool isInTube(std::size_t element, const Polyline& own, const Polyline& other) {
        bool result = true;
        for (std::size_t index = 0; index < own.valueCount(); ++index) {
            const auto deviation = other.deviationOf(own.value(index, element), element);
            result = isAllowed(deviation, element, own, index) && result;
        }
        return result;
    }

    /// Notes the deviation of a value, which is empty if the other side has no value.
    bool isAllowed(const std::optional<double>& deviation, std::size_t element, const Polyline& own,
                   std::size_t index) {
        if (findings.addDeviation(element, deviation, present)) {
            return true;
        }
        findings.tally(element).addDifference(place(own, index));
        return false;
    }

    Place place(const Polyline& own, std::size_t index) const {
        Place result{present, a.lastStep(), b.lastStep()};
        (&own == &a ? result.stepA : result.stepB) = own.step(index);
        return result;
    }

    const TubeSettings& settings;
    CountingSource countedA;
    CountingSource countedB;
    Polyline a;
    Polyline b;
    TubeFindings findings;
    IntervalComparison intervals;
    double present = 0;
    double duration = 0; ///< of what was compared so far
};

} // namespace

std::optional<Comparison> compare_tubes(SampleSource& a, SampleSource& b,
                                        const TubeSettings& settings) {
    return TubeComparison(a, b, settings).result();
}

} // namespace logging2::tools
