#include <tools/compare/PieceComparison.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

/// Clears the sides where the line keeps within what is allowed of what a tube contains; none if
/// something is not finite. GCC must be asked to inline it, which saves a tenth of the whole time.
inline void clear_sides(Sides& sides, const Line& line, const Line& least, const Line& greatest,
                        double allowed) {
    if (line.isFinite() && least.isFinite() && greatest.isFinite()) {
        sides.above = sides.above && !line.staysBelow(greatest, allowed);
        sides.below = sides.below && !least.staysBelow(line, allowed);
    }
}

Ceiling ceiling_of(double least, const Line& left, const Line& right) {
    Ceiling result(least);
    result.add(left);
    result.add(right);
    return result;
}

} // namespace

void PieceComparison::compare(std::size_t presentElement, double pieceBegin, double pieceEnd) {
    element = presentElement;
    begin = pieceBegin;
    end = pieceEnd;
    allowed = findings.allowed(element);
    always = OutsidePart();
    excessCount = 0;
    const Line ofA = a.goesOn() ? a.valuesOnLine(begin, end, element) : Line();
    const Line ofB = b.goesOn() ? b.valuesOnLine(begin, end, element) : Line();
    Sides sidesOfA;
    if (a.goesOn() && b.goesOn()) {
        clear_sides(sidesOfA, ofA, ofB, ofB, allowed); // A window sees the present value too.
    }
    if (a.goesOn()) {
        findExcesses(ofA, b, sidesOfA);
    }
    if (b.goesOn()) {
        findExcesses(ofB, a, {sidesOfA.below, sidesOfA.above});
    }
    if (excessCount == 0 && always.isEmpty()) {
        return;
    }
    findKinks();
    for (std::size_t i = 1; i < kinkCount; ++i) {
        comparePart(kinks[i - 1], kinks[i]);
    }
}

/// Looks where the curve may be outside the other one's tube. Takes what is in the tube one by one,
/// because a part of it is often enough.
void PieceComparison::findExcesses(const Line& own, const Polyline& other, Sides sides) {
    if (sides.areNone()) {
        return;
    }
    const FiniteRange points = other.pointRange(element);
    clear_sides(sides, own, {points.least, points.least}, {points.greatest, points.greatest},
                allowed);
    if (sides.areNone()) {
        return;
    }
    const Line left = other.leftLine(begin, end, element);
    clear_sides(sides, own, left, left, allowed);
    if (sides.areNone()) {
        return;
    }
    const Line right = other.rightLine(begin, end, element);
    clear_sides(sides, own, right, right, allowed);
    const bool isEmpty = points.isEmpty() && !left.isFinite() && !right.isFinite();
    if (isEmpty || !std::isfinite(own.begin)) {
        compareConstant(own.begin, other);
        return;
    }
    if (sides.above) {
        excesses[excessCount++] = {own, ceiling_of(points.greatest, left, right)};
    }
    if (sides.below) {
        excesses[excessCount++] = {-own, ceiling_of(-points.least, -left, -right)};
    }
}

/// Compares something with a tube whose finite values do not matter.
void PieceComparison::compareConstant(double value, const Polyline& other) {
    if (!findings.addDeviation(element, other.deviationOf(value, element), timeAt(0.5))) {
        always.includeAll();
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
