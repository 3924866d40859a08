// How the engine discards steps.
#include <logging2/backends/recording/detail/Engine.hpp>

#include <algorithm>

namespace logging2::core::detail {

void Engine::rollback(std::size_t group, double time) {
    GroupBuffer& buffer = bufferOf(group);
    checkCall();
    if (hasEnded) {
        refuse("rollback was called after flush");
    }
    discardFrom(buffer, stepsNotLaterThan(buffer, time));
    showDiscard();
}

/// How many steps of the group a rollback to the time keeps.
std::size_t Engine::stepsNotLaterThan(const GroupBuffer& group, double time) {
    if (!(group.greatestBefore > time)) {
        return group.firstStep + group.rowsNotLaterThan(time);
    }
    Lock lock(mutex);
    waitUntilIdle(lock, true);
    return recorder.firstLater(group.position, time);
}

/// The time of the last of so many steps, of which there is one at least.
double Engine::lastTimeOf(const GroupBuffer& group, std::size_t stepCount) {
    if (stepCount > group.firstStep) {
        return *group.row(stepCount - group.firstStep - 1);
    }
    Lock lock(mutex);
    waitUntilIdle(lock, true);
    return recorder.endOf(group.position, stepCount).lastTime;
}

/// As the memory writers do: what is later goes, and then one sample at the time itself. Both at
/// once, because readers may not see what is in between.
void Engine::discardAtRegression(GroupBuffer& group, double time) {
    std::size_t kept = stepsNotLaterThan(group, time);
    if (kept > 0 && lastTimeOf(group, kept) == time) {
        --kept;
    }
    discardFrom(group, kept);
}

void Engine::discardFrom(GroupBuffer& group, std::size_t step) {
    if (step >= group.firstStep) {
        keepRows(group, step - group.firstStep);
    } else {
        discardStored(group, step);
    }
}

void Engine::keepRows(GroupBuffer& group, std::size_t rowCount) {
    if (rowCount == group.rowCount.load(std::memory_order_relaxed)) {
        return;
    }
    Lock lock(mutex);
    if (rowCount >= group.takenCount) {
        group.rowCount.store(rowCount, std::memory_order_relaxed);
        return;
    }
    waitUntilIdle(lock, false);
    const std::size_t step = group.firstStep + rowCount;
    group.takenCount = rowCount;
    group.discardFrom = std::min(step, group.discardFrom.value_or(step));
    group.rowCount.store(rowCount, std::memory_order_relaxed);
    owesDiscard = owesDiscard || step < recorder.shownStepCount(group.position);
}

void Engine::discardStored(GroupBuffer& group, std::size_t step) {
    Lock lock(mutex);
    waitUntilIdle(lock, true);
    const GroupEnd end = recorder.endOf(group.position, step);
    group.greatestBefore = end.greatestTime;
    group.lastTimeBefore = end.lastTime;
    group.firstStep = step;
    group.rowCount.store(0, std::memory_order_relaxed);
    group.takenCount = 0;
    group.discardFrom = step;
    owesDiscard = owesDiscard || step < recorder.shownStepCount(group.position);
}

/// Takes steps that are discarded from the readers, who have seen them. If that fails, the next
/// call tries again.
void Engine::showDiscard() {
    if (owesDiscard) {
        Lock lock(mutex);
        request(lock, false, nullptr);
        owesDiscard = false;
    }
}

} // namespace logging2::core::detail
