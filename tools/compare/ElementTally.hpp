#pragma once

#include <tools/compare/Comparison.hpp>

#include <cmath>
#include <vector>

namespace logging2::tools {

/// Sums up how one element differs.
class ElementTally {
public:
    ElementTally(std::size_t element, double allowed) {
        result.element = element;
        result.allowed = allowed;
    }

    /// Whether a deviation is allowed; one that is NaN is not.
    bool allows(double deviation) const noexcept { return deviation <= result.allowed; }

    /// There is this deviation at this time.
    void addDeviation(double deviation, double time) {
        if (deviation > result.largest) {
            result.largest = deviation;
            result.at = time;
        }
        result.hasNanDifference = result.hasNanDifference || std::isnan(deviation);
    }

    /// The signals differ at this place. Places come in the order of their times.
    void addDifference(const Place& place) {
        if (!result.first || isProvisional) {
            result.first = place;
            isProvisional = false;
        }
    }

    /// The signals differ at this place between two samples. A difference at the second sample,
    /// which comes next, is the first difference instead.
    void addProvisionalDifference(const Place& place) {
        if (!result.first) {
            result.first = place;
            isProvisional = true;
        }
    }

    /// There are no more differences at the present sample.
    void endSample() { isProvisional = false; }

    /// So much of the time, or so many steps, differ.
    void addAmount(double amount) { differingAmount += amount; }

    /// The result if there is so much time, or so many steps, in all. If there is no time at all,
    /// the share is 0 or 1.
    ElementComparison comparison(double totalAmount) const {
        ElementComparison whole = result;
        whole.share = totalAmount > 0 ? differingAmount / totalAmount : whole.first ? 1 : 0;
        return whole;
    }

private:
    ElementComparison result;
    bool isProvisional = false;
    double differingAmount = 0;
};

/// The element that differs and deviates most; if none differs, the one that deviates most.
ElementComparison worst_of(const std::vector<ElementTally>& tallies, double totalAmount);

} // namespace logging2::tools
