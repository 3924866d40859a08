#include <tools/commands/RunMonitor.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace logging2::tools {

namespace {

/// When the host last changed the recording.
std::chrono::system_clock::time_point last_change(const std::string& location) {
    std::chrono::nanoseconds latest{0};
    for (const char* const file : {"/samples.bin", "/index.sqlite", "/index.sqlite-wal"}) {
        struct stat status {};
        stat((location + file).c_str(), &status); // leaves zeros if there is no such file
        latest = std::max<std::chrono::nanoseconds>(
            latest, std::chrono::seconds(status.st_mtim.tv_sec) +
                        std::chrono::nanoseconds(status.st_mtim.tv_nsec));
    }
    return std::chrono::system_clock::time_point(latest);
}

} // namespace

RunMonitor::RunMonitor(const std::string& location, const SignalChoice& choice)
    : watched(core::open_recording(location, core::SampleAccess::copied)),
      signals(chosen_signals(*watched, choice, location)),
      steps(countSteps()),
      lastChange(last_change(location)) {}

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
    lastChange = hasChanged ? std::chrono::system_clock::now() : lastChange;
}

std::optional<std::chrono::system_clock::duration> RunMonitor::lag() const {
    if (watched->info().state != core::RunState::running) {
        return std::nullopt;
    }
    const std::chrono::system_clock::duration none{0};
    return std::max(none, std::chrono::system_clock::now() - lastChange);
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
