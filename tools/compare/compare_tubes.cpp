#include <tools/compare/compare_tubes.hpp>

#include <tools/compare/CountingSource.hpp>
#include <tools/compare/ElementTally.hpp>
#include <tools/compare/OutsidePart.hpp>
#include <tools/compare/Polyline.hpp>
#include <tools/compare/WindowEdges.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace logging2::tools {
namespace {

class TubeComparison {
public:
    TubeComparison(SampleSource& sourceA, SampleSource& sourceB, const TubeSettings& tubeSettings)
        : settings(tubeSettings),
          countedA(sourceA, settings.from, settings.to),
          countedB(sourceB, settings.from, settings.to),
          a(countedA, shape()),
          b(countedB, shape()) {
        for (std::size_t element = 0; element < settings.allowed.size(); ++element) {
            tallies.emplace_back(element, settings.allowed[element]);
        }
    }

    std::optional<Comparison> result() {
        compareAll();
        if (!a.isOrdered() || !b.isOrdered()) {
            return std::nullopt;
        }
        Comparison comparison;
        comparison.a = countedA.summary();
        comparison.b = countedB.summary();
        comparison.hasTimeDifference = hasTimeDifference;
        comparison.worst = worst_of(tallies, duration);
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
                compareBetween(*last, *time);
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
        moveTo(time);
        for (std::size_t element = 0; element < tallies.size(); ++element) {
            if (!isSame(element)) {
                tellDifference(time, time);
            }
            tallies[element].endSample();
        }
    }

    /// Compares the curves between two neighbouring times with samples, the first of which is the
    /// present one.
    void compareBetween(double begin, double end) {
        duration += end - begin;
        if (settings.timeTolerance == 0) {
            for (std::size_t element = 0; element < tallies.size(); ++element) {
                compareLines(element, begin, end);
            }
        } else if (!areClose(begin, end)) {
            compareWithWindows(begin, end);
        }
    }

    /// Compares straight lines.
    void compareLines(std::size_t element, double begin, double end) {
        if (!a.goesOn() || !b.goesOn()) {
            compareWithNothing(element, begin, end);
            return;
        }
        const Line difference = differenceOfLines(element, begin, end);
        if (difference.begin == 0 && difference.end == 0) {
            return;
        }
        OutsidePart part;
        if (std::isfinite(difference.begin)) {
            const double allowed = settings.allowed[element];
            tallies[element].addDeviation(std::abs(difference.begin), begin);
            tallies[element].addDeviation(std::abs(difference.end), end);
            part.includePositive(difference.begin - allowed, difference.end - allowed);
            part.includePositive(-difference.begin - allowed, -difference.end - allowed);
        } else {
            includeUnlessAllowed(part, element, difference.begin, begin + (end - begin) / 2);
        }
        addOutside(element, begin, end, part);
    }

    void compareWithNothing(std::size_t element, double begin, double end) {
        if (a.goesOn() || b.goesOn()) {
            hasTimeDifference = true;
            OutsidePart part;
            part.includeAll();
            addOutside(element, begin, end, part);
        }
    }

    /// That of A minus that of B; infinite or NaN if they differ and one of them is not finite.
    Line differenceOfLines(std::size_t element, double begin, double end) const {
        const Line ofA = a.valuesOnLine(begin, end, element);
        const Line ofB = b.valuesOnLine(begin, end, element);
        if (std::isfinite(ofA.begin) && std::isfinite(ofB.begin)) {
            return {ofA.begin - ofB.begin, ofA.end - ofB.end};
        }
        const double deviation = deviation_between(ofA.begin, ofB.begin);
        return {deviation, deviation};
    }

    /// Whether the lines are close to each other at the same times, so that windows do not matter.
    bool areClose(double begin, double end) const {
        if (!a.goesOn() || !b.goesOn()) {
            return false;
        }
        for (std::size_t element = 0; element < tallies.size(); ++element) {
            const double allowed = settings.allowed[element];
            const Line difference = differenceOfLines(element, begin, end);
            if (!(std::abs(difference.begin) <= allowed && std::abs(difference.end) <= allowed)) {
                return false;
            }
        }
        return true;
    }

    /// Compares piece by piece, such that no point enters or leaves a window within a piece.
    void compareWithWindows(double begin, double end) {
        while (begin < end) {
            const double pieceEnd = std::min({a.nextChange(begin), b.nextChange(begin), end});
            const double middle = begin + (pieceEnd - begin) / 2;
            if (!isNegligible(begin, pieceEnd) && begin < middle && middle < pieceEnd) {
                moveTo(middle);
                for (std::size_t element = 0; element < tallies.size(); ++element) {
                    comparePiece(element, begin, pieceEnd);
                }
            }
            begin = pieceEnd;
        }
    }

    /// Whether only rounding tells these times from each other.
    bool isNegligible(double begin, double end) const {
        constexpr double roundings = 8 * std::numeric_limits<double>::epsilon();
        return end - begin <=
               roundings * std::max({std::abs(begin), std::abs(end), settings.timeTolerance});
    }

    /// Compares where the edges of the tubes move along straight lines, except for kinks.
    void comparePiece(std::size_t element, double begin, double end) {
        const Piece ofA = pieceOf(a, b, element, begin, end);
        const Piece ofB = pieceOf(b, a, element, begin, end);
        if (ofA.isInside && ofB.isInside) {
            return;
        }
        kinks.assign({0, 1});
        ofA.tube.appendKinks(kinks);
        ofB.tube.appendKinks(kinks);
        std::sort(kinks.begin(), kinks.end());
        const auto timeAt = [begin, end](double share) { return begin + (end - begin) * share; };
        for (std::size_t i = 1; i < kinks.size(); ++i) {
            OutsidePart part;
            for (const Piece* const piece : {&ofA, &ofB}) {
                includeOutside(part, element, *piece, kinks[i - 1], kinks[i], timeAt);
            }
            addOutside(element, timeAt(kinks[i - 1]), timeAt(kinks[i]), part);
        }
    }

    /// A curve without samples, and the tube of the other one.
    struct Piece {
        Line own;
        WindowEdges tube;
        bool isInside = false;
        std::optional<double> deviation; ///< if it is constant, because something is not finite
    };

    Piece pieceOf(const Polyline& own, const Polyline& other, std::size_t element, double begin,
                  double end) {
        Piece piece;
        if (!own.goesOn()) {
            piece.isInside = true;
            return piece;
        }
        piece.own = own.valuesOnLine(begin, end, element);
        piece.tube = other.edges(begin, end, element);
        piece.isInside = piece.tube.surelyContains(piece.own, settings.allowed[element]);
        if (!piece.isInside && (!std::isfinite(piece.own.begin) || piece.tube.isEmpty())) {
            piece.deviation = other.deviationOf(piece.own.begin, element);
            hasTimeDifference = hasTimeDifference || !piece.deviation;
            piece.isInside = piece.deviation == 0;
        }
        return piece;
    }

    /// Includes the times between two shares of a piece when the one curve is outside the tube of
    /// the other one.
    template <class TimeAt>
    void includeOutside(OutsidePart& part, std::size_t element, const Piece& piece, double begin,
                        double end, const TimeAt& timeAt) {
        if (piece.isInside) {
            return;
        }
        if (!std::isfinite(piece.own.begin) || piece.tube.isEmpty()) {
            includeUnlessAllowed(part, element, piece.deviation, timeAt(begin + (end - begin) / 2));
            return;
        }
        const double allowed = settings.allowed[element];
        const FiniteRange rangeAtBegin = piece.tube.rangeAt(begin);
        const FiniteRange rangeAtEnd = piece.tube.rangeAt(end);
        const Line own{piece.own.at(begin), piece.own.at(end)};
        tallies[element].addDeviation(rangeAtBegin.distanceTo(own.begin), timeAt(begin));
        tallies[element].addDeviation(rangeAtEnd.distanceTo(own.end), timeAt(end));
        part.includePositive(own.begin - rangeAtBegin.greatest - allowed,
                             own.end - rangeAtEnd.greatest - allowed);
        part.includePositive(rangeAtBegin.least - own.begin - allowed,
                             rangeAtEnd.least - own.end - allowed);
    }

    /// The deviation is empty if the other side has no value.
    void includeUnlessAllowed(OutsidePart& part, std::size_t element,
                              const std::optional<double>& deviation, double time) {
        hasTimeDifference = hasTimeDifference || !deviation;
        if (deviation) {
            tallies[element].addDeviation(*deviation, time);
        }
        if (!deviation || !tallies[element].allows(*deviation)) {
            part.includeAll();
        }
    }

    void addOutside(std::size_t element, double begin, double end, const OutsidePart& part) {
        if (part.isEmpty()) {
            return;
        }
        const double length = end - begin;
        const double headEnd = begin + length * part.head;
        const double tailBegin = begin + length * part.tail;
        tallies[element].addAmount(length * part.share());
        tallies[element].addProvisionalDifference(
            {part.head > 0 ? begin : tailBegin, a.lastStep(), b.lastStep()});
        if (part.head > 0) {
            tellDifference(begin, headEnd);
        }
        if (part.tail < 1) {
            tellDifference(tailBegin, end);
        }
    }

    void tellDifference(double from, double to) const {
        if (settings.differenceSink) {
            settings.differenceSink(from, to);
        }
    }

    void moveTo(double time) {
        present = time;
        a.moveTo(time);
        b.moveTo(time);
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
        ElementTally& tally = tallies[element];
        hasTimeDifference = hasTimeDifference || !deviation;
        if (deviation) {
            tally.addDeviation(*deviation, present);
            if (tally.allows(*deviation)) {
                return true;
            }
        }
        tally.addDifference(place(own, index));
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
    std::vector<ElementTally> tallies;
    std::vector<double> kinks; ///< shares of a piece; kept for its memory
    double present = 0;
    double duration = 0; ///< of what was compared so far
    bool hasTimeDifference = false;
};

} // namespace

std::optional<Comparison> compare_tubes(SampleSource& a, SampleSource& b,
                                        const TubeSettings& settings) {
    return TubeComparison(a, b, settings).result();
}

} // namespace logging2::tools
