#pragma once

#include <tools/compare/Extent.hpp>
#include <tools/compare/Fifo.hpp>

#include <cstddef>

namespace logging2::tools {

/// The extent of the values in a window that slides over numbered points. A point enters and leaves
/// once, so the cost per point is constant; the memory is bounded by the points in the window.
class SlidingExtent {
public:
    /// The point enters the window; points enter in the order of their numbers.
    void enter(std::size_t number, double value);

    /// The oldest point leaves the window.
    void leave(std::size_t number, double value);

    Extent extent() const;

    FiniteRange finiteRange() const {
        return rising.empty() ? FiniteRange()
                              : FiniteRange{rising.front().value, falling.front().value};
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
