#include <tools/commands/RunMonitor.hpp>

#include <algorithm>
#include <utility>

namespace logging2::tools {

RunMonitor::RunMonitor(std::unique_ptr<core::Run> runToWatch, const SignalChoice& choice)
    : watched(std::move(runToWatch)),
      signals(chosen_signals(*watched, choice)),
      steps(countSteps()) {}

std::size_t RunMonitor::countSteps() const {
    std::size_t count = 0;
    for (const core::GroupInfo& group : watched->groups()) {
        count += group.stepCount;
    }
    return count;
}

void RunMonitor::refresh() {
    const bool hasChanged = watched->refresh();
    const Clock::time_point now = Clock::now();
    const std::size_t before = std::exchange(steps, countSteps());
    const double seconds = std::chrono::duration<double>(now - lastLook).count();
    // After a rollback of more steps than were added, none count as added.
    rate = static_cast<double>(steps - std::min(before, steps)) / seconds;
    lastLook = now;
    lastChange = hasChanged ? now : lastChange;
}

std::chrono::system_clock::duration RunMonitor::lag() const {
    return std::chrono::duration_cast<std::chrono::system_clock::duration>(Clock::now() -
                                                                           lastChange);
}

std::vector<NewestSample> RunMonitor::newest() const {
    const std::vector<core::GroupInfo> groups = watched->groups();
    std::vector<NewestSample> result;
    for (const core::SignalInfo& signal : signals) {
        const std::size_t count =
            std::find_if(groups.begin(), groups.end(), [&signal](const core::GroupInfo& group) {
                return group.id == signal.group;
            })->stepCount;
        NewestSample newest{signal.path.text(), count, std::nullopt, {}};
        if (count > 0) {
            const core::Series last = watched->series(signal.path, core::StepRange{count - 1, 1});
            newest.time = last.times()[0];
            newest.values.assign(last.values().begin(), last.values().end());
        }
        result.push_back(std::move(newest));
    }
    return result;
}

} // namespace logging2::tools
