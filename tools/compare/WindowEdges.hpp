#pragma once

#include <tools/compare/Extent.hpp>
#include <tools/compare/Line.hpp>

#include <array>
#include <cstddef>

namespace logging2::tools {

/// The greatest one of a constant and a few lines, in an interval of time.
class Ceiling {
public:
    static constexpr std::size_t greatestKinkCount = 3;

    Ceiling() = default;
    explicit Ceiling(double least) noexcept : constant(least) {}

    void add(const Line& line) noexcept { lines[count++] = line; }

    double at(double share) const noexcept {
        double result = constant;
        for (std::size_t i = 0; i < count; ++i) {
            result = std::max(result, lines[i].at(share));
        }
        return result;
    }

    /// Whether the line is nowhere above one of the parts by more than is allowed; if not, it may
    /// still be below all of them together.
    bool isSurelyAbove(const Line& line, double allowed) const noexcept {
        bool isAbove = line.staysBelow({constant, constant}, allowed);
        for (std::size_t i = 0; i < count; ++i) {
            isAbove = isAbove || line.staysBelow(lines[i], allowed);
        }
        return isAbove;
    }

    /// Calls it with each share of the interval where the ceiling may have a kink.
    template <class Sink>
    void findKinks(const Sink& sink) const {
        const auto find = [&sink](double before, double after) {
            if ((before < 0 && after > 0) || (before > 0 && after < 0)) {
                sink(before / (before - after));
            }
        };
        for (std::size_t i = 0; i < count; ++i) {
            find(lines[i].begin - constant, lines[i].end - constant);
            for (std::size_t j = 0; j < i; ++j) {
                find(lines[i].begin - lines[j].begin, lines[i].end - lines[j].end);
            }
        }
    }

private:
    double constant = -infinity;
    std::array<Line, 2> lines{};
    std::size_t count = 0;
};

/// What a window sees while it moves and no point enters or leaves it: everything between the least
/// and the greatest one of its points and of the curve at its two ends.
struct WindowEdges {
    FiniteRange points;
    std::array<Line, 2> ends{};
    std::size_t endCount = 0;

    /// A line that is not finite is not seen.
    void add(const Line& line) noexcept {
        if (line.isFinite()) {
            ends[endCount++] = line;
        }
    }

    bool isEmpty() const noexcept { return points.isEmpty() && endCount == 0; }

    /// The greatest values that are seen.
    Ceiling ceiling() const noexcept {
        Ceiling result(points.greatest);
        for (std::size_t i = 0; i < endCount; ++i) {
            result.add(ends[i]);
        }
        return result;
    }

    /// The least values, all with the opposite sign.
    Ceiling negativeFloor() const noexcept {
        Ceiling result(-points.least);
        for (std::size_t i = 0; i < endCount; ++i) {
            result.add(-ends[i]);
        }
        return result;
    }
};

} // namespace logging2::tools
