#pragma once

#include <chrono>
#include <functional>
#include <ostream>

namespace simulate {

/// Shows how far a run has come, once it has taken more than a second; gone without trace at its
/// end. It draws nothing where it is not enabled.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// `total` is the value of a finished run. The stream must outlive the bar.
    ProgressBar(std::ostream& terminal, bool enabled, double total,
                std::function<Clock::time_point()> clock = Clock::now);
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Draws anew at most ten times a second.
    void show(double done);

private:
    void draw(double share);

    std::ostream& out;
    bool enabled;
    double total;
    std::function<Clock::time_point()> now;
    Clock::time_point nextDraw;
    bool drawn = false;
};

} // namespace simulate
