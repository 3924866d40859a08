#pragma once

#include <tools/compare/Extent.hpp>
#include <tools/compare/Line.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace logging2::tools {

/// The greatest one of a constant and up to two lines, in an interval of time.
class Ceiling {
public:
    static constexpr std::size_t greatestKinkCount = 3;

    Ceiling() = default;
    explicit Ceiling(double leastValue) noexcept : least(leastValue) {}

    /// A line that is not finite is left out.
    void add(const Line& line) noexcept {
        if (line.isFinite()) {
            lines[count++] = line;
        }
    }

    double at(double share) const noexcept {
        double result = least;
        for (std::size_t i = 0; i < count; ++i) {
            result = std::max(result, lines[i].at(share));
        }
        return result;
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
            find(lines[i].begin - least, lines[i].end - least);
        }
        if (count == 2) {
            find(lines[0].begin - lines[1].begin, lines[0].end - lines[1].end);
        }
    }

private:
    double least = -infinity;
    std::array<Line, 2> lines{};
    std::size_t count = 0;
};

} // namespace logging2::tools
