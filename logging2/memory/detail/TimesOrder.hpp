#pragma once

namespace logging2::core::detail {

/// What a memory writer knows about the order of one group's times without looking at them.
///
/// As long as the times ascend, the times that are later than a given one stand together at the
/// end, so that a rollback finds them from there.
class TimesOrder {
public:
    /// To be called before a time is appended.
    template <class Times>
    void expect(const Times& times, double time) noexcept {
        // A NaN is never at or before another time.
        ascends = times.empty() || (ascends && times.back() <= time);
    }

    /// The caller got access to the times and may change them at any later moment.
    void handOut() noexcept { handedOut = true; }

    /// Whether every time is at or after the one before it. A NaN is neither.
    bool isAscending() const noexcept { return ascends && !handedOut; }

private:
    bool ascends = true;
    bool handedOut = false;
};

} // namespace logging2::core::detail
