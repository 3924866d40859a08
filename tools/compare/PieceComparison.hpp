#pragma once

#include <tools/compare/Ceiling.hpp>
#include <tools/compare/Polyline.hpp>
#include <tools/compare/TubeFindings.hpp>

#include <array>
#include <cstddef>

namespace logging2::tools {

/// The sides where a curve may be outside a tube.
struct Sides {
    bool above = true;
    bool below = true;

    bool areNone() const noexcept { return !above && !below; }
};

/// Compares two curves with each other's tube for a piece of time in which no point enters or
/// leaves a window, so that the edges of the tubes are straight except for kinks.
class PieceComparison {
public:
    /// All of these must outlive this.
    PieceComparison(const Polyline& curveA, const Polyline& curveB, TubeFindings& whatIsFound)
        : a(curveA),
          b(curveB),
          findings(whatIsFound) {}

    /// The present time of the curves is within the piece, which neither begins nor ends there.
    void compare(std::size_t element, double begin, double end);

private:
    /// A curve that may be above the other one's tube; or below it, with all signs changed.
    struct Excess {
        Line own;
        Ceiling ceiling;

        double at(double share) const noexcept { return own.at(share) - ceiling.at(share); }
    };

    void findExcesses(const Line& own, const Polyline& other, Sides sides);
    void compareConstant(double value, const Polyline& other);
    void findKinks();
    void comparePart(double shareBegin, double shareEnd);
    double timeAt(double share) const noexcept { return begin + (end - begin) * share; }

    const Polyline& a;
    const Polyline& b;
    TubeFindings& findings;

    // Of the present piece.
    std::size_t element = 0;
    double begin = 0;
    double end = 0;
    double allowed = 0;
    OutsidePart always; ///< what is outside because something is not finite
    std::array<Excess, 4> excesses{};
    std::size_t excessCount = 0;
    std::array<double, 2 + 4 * Ceiling::greatestKinkCount> kinks{}; ///< shares; also 0 and 1
    std::size_t kinkCount = 0;
};

} // namespace logging2::tools
