#pragma once

#include <tools/compare/PieceComparison.hpp>

#include <cstddef>

namespace logging2::tools {

/// Compares two curves between neighbouring times at which one of them has a sample.
class IntervalComparison {
public:
    /// The curves and the findings must outlive this.
    IntervalComparison(Polyline& curveA, Polyline& curveB, double tolerance,
                       TubeFindings& whatIsFound)
        : a(curveA),
          b(curveB),
          timeTolerance(tolerance),
          findings(whatIsFound),
          pieces(curveA, curveB, whatIsFound) {}

    /// The first time is the present one of both curves, which may move towards the second one.
    void compare(double begin, double end);

private:
    void compareLines(std::size_t element, double begin, double end);
    void compareWithNothing(std::size_t element, double begin, double end);
    bool isSurelyInside(double begin, double end);
    bool isSurelyInside(std::size_t element, double begin, double end);
    void compareWithWindows(double begin, double end);
    bool isNegligible(double begin, double end) const;

    Polyline& a;
    Polyline& b;
    double timeTolerance;
    TubeFindings& findings;
    PieceComparison pieces;
};

} // namespace logging2::tools
