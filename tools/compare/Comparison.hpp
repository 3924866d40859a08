#pragma once

#include <cstddef>
#include <optional>

namespace logging2::tools {

/// What was read of one side of a comparison.
struct SideSummary {
    std::size_t stepCount = 0;
    std::size_t nanCount = 0; ///< of all elements
    std::optional<double> firstTime;
    std::optional<double> lastTime;
};

/// Where two signals differ.
struct Place {
    double time = 0;
    std::optional<std::size_t> stepA; ///< the last step up to there, empty if there is none
    std::optional<std::size_t> stepB;
};

/// How one element of two signals differs.
struct ElementComparison {
    std::size_t element = 0;
    double allowed = 0;            ///< the greatest deviation that is allowed
    double largest = 0;            ///< the largest deviation, of which NaN is none
    std::optional<double> at;      ///< when the largest deviation occurs first
    std::optional<Place> first;    ///< the first difference; empty if there is none
    double share = 0;              ///< of the time or the steps that differ, from 0 to 1
    bool hasNanDifference = false; ///< one side is NaN where the other one is not
};

/// How two signals differ.
struct Comparison {
    SideSummary a;
    SideSummary b;
    /// A tube: there are times for which only one side has a value. Exact: a time differs.
    bool hasTimeDifference = false;
    ElementComparison worst; ///< the element that deviates most of those that differ, or of all

    bool differs() const noexcept { return worst.first.has_value(); }
};

} // namespace logging2::tools
