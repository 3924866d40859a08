#pragma once

#include <tools/compare/Extent.hpp>
#include <tools/compare/Fifo.hpp>

#include <cmath>
#include <cstddef>

namespace logging2::tools {

/// The extent of the values in a window that slides over numbered points. A point enters and leaves
/// once, so the cost per point is constant; the memory is bounded by the points in the window.
class SlidingExtent {
public:
    /// The point enters the window; points enter in the order of their numbers.
    void enter(std::size_t number, double value) {
        if (!std::isfinite(value)) {
            ++countOf(value);
            return;
        }
        while (!rising.empty() && rising.back().value >= value) {
            rising.removeLast();
        }
        rising.append({number, value});
        while (!falling.empty() && falling.back().value <= value) {
            falling.removeLast();
        }
        falling.append({number, value});
    }

    /// The oldest point leaves the window.
    void leave(std::size_t number, double value) {
        if (!std::isfinite(value)) {
            --countOf(value);
            return;
        }
        if (rising.front().number == number) {
            rising.removeFirst();
        }
        if (falling.front().number == number) {
            falling.removeFirst();
        }
    }

    Extent extent() const;

    FiniteRange finiteRange() const {
        return rising.empty() ? FiniteRange()
                              : FiniteRange{rising.front().value, falling.front().value};
    }

    /// That of the points from this number on. Costs as much as the points before it in the window.
    FiniteRange finiteRangeFrom(std::size_t number) const {
        const auto firstOf = [number](const Fifo<Entry>& entries, double otherwise) {
            std::size_t index = entries.first();
            while (index < entries.end() && entries[index].number < number) {
                ++index;
            }
            return index < entries.end() ? entries[index].value : otherwise;
        };
        return {firstOf(rising, infinity), firstOf(falling, -infinity)};
    }

private:
    struct Entry {
        std::size_t number;
        double value;
    };

    /// How many values that are not finite the window has.
    std::size_t& countOf(double value);

    // Monotonic: an entry is kept as long as it is the least, or the greatest, of those after it.
    Fifo<Entry> rising;
    Fifo<Entry> falling;
    std::size_t nanCount = 0;
    std::size_t positiveCount = 0;
    std::size_t negativeCount = 0;
};

} // namespace logging2::tools
