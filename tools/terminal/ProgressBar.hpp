#pragma once

#include <tools/terminal/Terminal.hpp>

#include <chrono>
#include <cstdint>

namespace logging2::tools {

/// Shows how far a command has come once it has taken more than a second, and removes that at its
/// end. Draws nothing if the terminal has no progress.
class ProgressBar {
public:
    /// The terminal must outlive the bar.
    explicit ProgressBar(const Terminal& ownerTerminal);

    /// For a command that prints rows while it works. Draws nothing unless they go to a file,
    /// because elsewhere they show the progress themselves.
    static ProgressBar ofRows(const Terminal& ownerTerminal);
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// So much of the total is done. Draws anew at most ten times a second.
    void show(std::uint64_t done, std::uint64_t total);

private:
    using Clock = std::chrono::steady_clock;

    ProgressBar(const Terminal& ownerTerminal, bool isVisible);

    const Terminal& terminal;
    bool visible;
    Clock::time_point nextDraw;
    bool isDrawn = false;
};

} // namespace logging2::tools
