#include <tools/compare/PieceComparison.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {

void PieceComparison::compare(std::size_t presentElement, double pieceBegin, double pieceEnd) {
    element = presentElement;
    begin = pieceBegin;
    end = pieceEnd;
    allowed = findings.allowed(element);
    always = OutsidePart();
    excessCount = 0;
    const Line ofA = a.goesOn() ? a.valuesOnLine(begin, end, element) : Line();
    const Line ofB = b.goesOn() ? b.valuesOnLine(begin, end, element) : Line();
    // Each window sees the curve's present value too.
    const bool canCompare = a.goesOn() && b.goesOn() && ofA.isFinite() && ofB.isFinite();
    const bool mayBeAbove = !canCompare || !ofA.staysBelow(ofB, allowed);
    const bool mayBeBelow = !canCompare || !ofB.staysBelow(ofA, allowed);
    if (a.goesOn()) {
        findExcesses(ofA, b, mayBeAbove, mayBeBelow);
    }
    if (b.goesOn()) {
        findExcesses(ofB, a, mayBeBelow, mayBeAbove);
    }
    if (excessCount == 0 && always.isEmpty()) {
        return;
    }
    findKinks();
    for (std::size_t i = 1; i < kinkCount; ++i) {
        comparePart(kinks[i - 1], kinks[i]);
    }
}

void PieceComparison::findExcesses(const Line& own, const Polyline& other, bool mayBeAbove,
                                   bool mayBeBelow) {
    if (!mayBeAbove && !mayBeBelow) {
        return;
    }
    const WindowEdges tube = other.edges(begin, end, element);
    if (!std::isfinite(own.begin) || tube.isEmpty()) {
        const auto deviation = other.deviationOf(own.begin, element);
        if (!findings.addDeviation(element, deviation, timeAt(0.5))) {
            always.includeAll();
        }
        return;
    }
    if (mayBeAbove) {
        addExcess(own, tube.ceiling());
    }
    if (mayBeBelow) {
        addExcess(-own, tube.negativeFloor());
    }
}

void PieceComparison::addExcess(const Line& own, const Ceiling& ceiling) {
    if (!ceiling.isSurelyAbove(own, allowed)) {
        excesses[excessCount++] = {own, ceiling};
    }
}

void PieceComparison::findKinks() {
    kinks = {0, 1};
    kinkCount = 2;
    for (std::size_t i = 0; i < excessCount; ++i) {
        excesses[i].ceiling.findKinks([this](double share) { kinks[kinkCount++] = share; });
    }
    if (kinkCount > 2) {
        std::sort(kinks.begin(), kinks.begin() + static_cast<std::ptrdiff_t>(kinkCount));
    }
}

/// Compares where there is no kink.
void PieceComparison::comparePart(double shareBegin, double shareEnd) {
    const double partBegin = timeAt(shareBegin);
    const double partEnd = timeAt(shareEnd);
    OutsidePart part = always;
    for (std::size_t i = 0; i < excessCount; ++i) {
        const double atBegin = excesses[i].at(shareBegin);
        const double atEnd = excesses[i].at(shareEnd);
        findings.addDeviation(element, std::max(0.0, atBegin), partBegin);
        findings.addDeviation(element, std::max(0.0, atEnd), partEnd);
        part.includePositive(atBegin - allowed, atEnd - allowed);
    }
    findings.addOutside(element, partBegin, partEnd, part, a, b);
}

} // namespace logging2::tools
