#pragma once

#include <algorithm>
#include <cmath>

namespace logging2::tools {

/// Which part of an interval of time lies outside a tube: the shares from 0 to `head` and from
/// `tail` to 1. The tube and what is compared with it are straight there.
struct OutsidePart {
    double head = 0;
    double tail = 1;

    bool isEmpty() const noexcept { return head <= 0 && tail >= 1; }

    /// The share of the interval that lies outside.
    double share() const noexcept { return std::min(1.0, head + 1 - tail); }

    void includeAll() noexcept { head = 1; }

    /// Includes the part where a number is positive, which is given at both ends of the interval.
    void includePositive(double begin, double end) noexcept {
        if (begin > 0 && end > 0) {
            includeAll();
        } else if (begin > 0) {
            head = std::max(head, zero(begin, end));
        } else if (end > 0) {
            tail = std::min(tail, zero(begin, end));
        }
    }

private:
    /// Halved, so that the difference is finite.
    static double zero(double begin, double end) noexcept {
        const double share = begin / 2 / (begin / 2 - end / 2);
        return std::isnan(share) ? 0.5 : share;
    }
};

} // namespace logging2::tools
