#pragma once

#include <array>
#include <csignal>
#include <stdexcept>

namespace logging2::tools {

/// The user has asked the command to stop.
class Interrupted : public std::runtime_error {
public:
    /// The signal that asked for it.
    explicit Interrupted(int signalNumber);

    int signal() const noexcept { return number; }

private:
    int number;
};

/// While it lives, SIGINT, SIGTERM and SIGHUP do not end the process, so that a command can remove
/// what it has begun. One at a time.
class InterruptGuard {
public:
    InterruptGuard();
    ~InterruptGuard();

    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    /// Throws Interrupted if one of the signals has come.
    static void check();

private:
    static constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

    std::array<struct sigaction, signals.size()> former{}; ///< what the signals did before
};

} // namespace logging2::tools
