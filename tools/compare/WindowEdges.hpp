#pragma once

#include <tools/compare/Extent.hpp>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace logging2::tools {

/// A number that changes evenly in an interval of time.
struct Line {
    double begin = 0;
    double end = 0;

    /// After a share of the interval.
    double at(double share) const noexcept {
        return share == 0 ? begin : share == 1 ? end : begin + (end - begin) * share;
    }
};

/// What a window sees while it moves and no point enters or leaves it: everything between the least
/// and the greatest one of a few lines.
class WindowEdges {
public:
    /// Lines that are not finite are not seen.
    void add(const Line& line) {
        if (std::isfinite(line.begin) && std::isfinite(line.end)) {
            lines[count++] = line;
        }
    }

    bool isEmpty() const noexcept { return count == 0; }

    FiniteRange rangeAt(double share) const {
        FiniteRange range;
        for (std::size_t i = 0; i < count; ++i) {
            range.include(lines[i].at(share));
        }
        return range;
    }

    /// Whether the line never leaves the range by more than is allowed; false if that takes a
    /// closer look.
    bool surelyContains(const Line& line, double allowed) const {
        bool hasHigher = false;
        bool hasLower = false;
        for (std::size_t i = 0; i < count; ++i) {
            hasHigher = hasHigher || (line.begin - lines[i].begin <= allowed &&
                                      line.end - lines[i].end <= allowed);
            hasLower = hasLower || (lines[i].begin - line.begin <= allowed &&
                                    lines[i].end - line.end <= allowed);
        }
        return hasHigher && hasLower;
    }

    /// Appends the shares of the interval where an end of the range may have a kink.
    void appendKinks(std::vector<double>& shares) const {
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t j = i + 1; j < count; ++j) {
                const double before = lines[i].begin - lines[j].begin;
                const double after = lines[i].end - lines[j].end;
                if ((before < 0 && after > 0) || (before > 0 && after < 0)) {
                    shares.push_back(before / (before - after));
                }
            }
        }
    }

private:
    /// The least and the greatest point in the window, and the curve at its two ends.
    std::array<Line, 4> lines{};
    std::size_t count = 0;
};

} // namespace logging2::tools
