#pragma once

namespace logging2::core::detail {

/// Tells a memory writer whether one group's times ascend, without looking at them.
///
/// As long as the times ascend, all times that are later than a given one are at the end, so a
/// rollback can search from the end.
class TimesOrder {
public:
    /// Must be called before a time is appended.
    template <class Times>
    void expect(const Times& times, double time) noexcept {
        // A comparison with NaN is false, so NaN breaks the order.
        ascends = times.empty() || (ascends && times.back() <= time);
    }

    /// Must be called when the host gets access to the times, because it may change them at any
    /// later moment.
    void handOut() noexcept { handedOut = true; }

    /// Whether every time is equal to or later than the one before it. A NaN is neither.
    bool isAscending() const noexcept { return ascends && !handedOut; }

private:
    bool ascends = true;
    bool handedOut = false;
};

} // namespace logging2::core::detail
