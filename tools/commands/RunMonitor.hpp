#pragma once

#include <tools/selection/SignalChoice.hpp>

#include <logging2/runs/runs.hpp>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {

/// The last sample of a signal.
struct NewestSample {
    std::string path;
    std::size_t stepCount = 0;
    std::optional<double> time; ///< empty if there is no sample
    std::vector<double> values;
};

/// Looks at a run again and again.
class RunMonitor {
public:
    /// Watches the recording in this directory.
    RunMonitor(const std::string& location, const SignalChoice& choice);

    const core::Run& run() const noexcept { return *watched; }

    /// Goes on to the present state of the run.
    void refresh();

    /// The steps of all groups together.
    std::size_t stepCount() const noexcept { return steps; }

    /// How many steps were added per second between the last two looks.
    double stepsPerSecond() const noexcept { return rate; }

    /// How long ago the last change was made; empty if the run has ended.
    std::optional<std::chrono::system_clock::duration> lag() const;

    std::vector<NewestSample> newest() const;

private:
    using Clock = std::chrono::steady_clock;

    std::size_t countSteps() const;

    std::unique_ptr<core::Run> watched;
    std::vector<core::SignalInfo> signals;
    std::size_t steps;
    double rate = 0;
    Clock::time_point lastLook = Clock::now();
    std::chrono::system_clock::time_point lastChange;
};

} // namespace logging2::tools
