#include <tools/compare/IntervalComparison.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace logging2::tools {
namespace {

/// That of A minus that of B; infinite or NaN if they differ and one of them is not finite.
Line difference_of(const Line& ofA, const Line& ofB) {
    if (std::isfinite(ofA.begin) && std::isfinite(ofB.begin)) {
        return {ofA.begin - ofB.begin, ofA.end - ofB.end};
    }
    const double deviation = deviation_between(ofA.begin, ofB.begin);
    return {deviation, deviation};
}

} // namespace

void IntervalComparison::compare(double begin, double end) {
    if (timeTolerance == 0) {
        for (std::size_t element = 0; element < findings.width(); ++element) {
            compareLines(element, begin, end);
        }
    } else if (!isSurelyInside(begin, end)) {
        compareWithWindows(begin, end);
    }
}

/// Compares straight lines.
void IntervalComparison::compareLines(std::size_t element, double begin, double end) {
    if (!a.goesOn() || !b.goesOn()) {
        compareWithNothing(element, begin, end);
        return;
    }
    const Line difference =
        difference_of(a.valuesOnLine(begin, end, element), b.valuesOnLine(begin, end, element));
    if (difference.begin == 0 && difference.end == 0) {
        return;
    }
    OutsidePart part;
    if (std::isfinite(difference.begin)) {
        const double allowed = findings.allowed(element);
        findings.addDeviation(element, std::abs(difference.begin), begin);
        findings.addDeviation(element, std::abs(difference.end), end);
        part.includePositive(difference.begin - allowed, difference.end - allowed);
        part.includePositive(-difference.begin - allowed, -difference.end - allowed);
    } else if (!findings.addDeviation(element, difference.begin, begin + (end - begin) / 2)) {
        part.includeAll();
    }
    findings.addOutside(element, begin, end, part, a, b);
}

void IntervalComparison::compareWithNothing(std::size_t element, double begin, double end) {
    if (a.goesOn() || b.goesOn()) {
        findings.addTimeDifference();
        OutsidePart part;
        part.includeAll();
        findings.addOutside(element, begin, end, part, a, b);
    }
}

/// Whether each curve is in the other one's tube; false if that takes a closer look.
bool IntervalComparison::isSurelyInside(double begin, double end) {
    if (!a.goesOn() || !b.goesOn()) {
        return false;
    }
    for (std::size_t element = 0; element < findings.width(); ++element) {
        if (!isSurelyInside(element, begin, end)) {
            return false;
        }
    }
    return true;
}

bool IntervalComparison::isSurelyInside(std::size_t element, double begin, double end) {
    const double allowed = findings.allowed(element);
    const Line ofA = a.valuesOnLine(begin, end, element);
    const Line ofB = b.valuesOnLine(begin, end, element);
    const Line difference = difference_of(ofA, ofB);
    if (std::abs(difference.begin) <= allowed && std::abs(difference.end) <= allowed) {
        return true; // close to each other at the same times
    }
    return difference.isFinite() && b.surelyContains(ofA, end, allowed, element) &&
           a.surelyContains(ofB, end, allowed, element);
}

/// Compares piece by piece, such that no point enters or leaves a window within a piece.
void IntervalComparison::compareWithWindows(double begin, double end) {
    while (begin < end) {
        const double pieceEnd = std::min({a.nextChange(begin), b.nextChange(begin), end});
        const double middle = begin + (pieceEnd - begin) / 2;
        if (!isNegligible(begin, pieceEnd) && begin < middle && middle < pieceEnd) {
            a.moveTo(middle);
            b.moveTo(middle);
            for (std::size_t element = 0; element < findings.width(); ++element) {
                pieces.compare(element, begin, pieceEnd);
            }
        }
        begin = pieceEnd;
    }
}

/// Whether only rounding tells these times from each other.
bool IntervalComparison::isNegligible(double begin, double end) const {
    constexpr double roundings = 8 * std::numeric_limits<double>::epsilon();
    return end - begin <= roundings * std::max({std::abs(begin), std::abs(end), timeTolerance});
}

} // namespace logging2::tools
