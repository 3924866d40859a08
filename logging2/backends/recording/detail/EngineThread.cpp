// What the engine does on its own thread.
#include <logging2/backends/recording/detail/Engine.hpp>

#include <algorithm>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace logging2::core::detail {
namespace {

/// A commit ends with the block that reaches this size.
constexpr std::size_t commitByteCount = std::size_t{8} * 1024 * 1024;

} // namespace

void Engine::storeUntilStopped() {
    using Clock = std::chrono::steady_clock;
    Lock lock(mutex);
    for (Clock::time_point due = Clock::now() + commitInterval; !isStopping;) {
        workArrived.wait_until(lock, due, [this] {
            return isStopping || (!failure && (isRequested || !queue.empty()));
        });
        const bool isDue = Clock::now() >= due;
        if (!failure && !isStopping) {
            storeOnce(lock, isDue || isRequested);
        }
        if (isDue) {
            due = Clock::now() + commitInterval;
        }
    }
}

void Engine::storeOnce(Lock& lock, bool withPartialBlocks) {
    Batch batch;
    try {
        collect(batch, withPartialBlocks);
        if (batch.isEmpty()) {
            return;
        }
        store(batch, lock);
        isRequested = isRequested && !batch.servesRequest;
    } catch (const std::bad_alloc&) {
        keepFailure(batch, std::current_exception());
    } catch (const std::exception& error) {
        keepFailure(batch, failureOf(batch, error.what()));
    }
    if (batch.isStored) {
        giveBackBlocks(batch.blockCount);
    }
    workDone.notify_all();
}

void Engine::collect(Batch& batch, bool withPartialBlocks) {
    batch.blockCount = addQueued(batch.commit);
    // What is left of the queue comes before the blocks that are not full.
    const bool takesPartialBlocks = withPartialBlocks && batch.blockCount == queue.size();
    for (std::size_t g = 0; takesPartialBlocks && g < groups.size(); ++g) {
        takeRows(*groups[g], batch.commit, batch.taken);
    }
    batch.servesRequest = isRequested && takesPartialBlocks;
    batch.commit.showAll = batch.servesRequest && showsAll;
    if (batch.servesRequest && endState != nullptr) {
        batch.commit.end = RunEnd{endState, text_of_time(std::chrono::system_clock::now())};
    }
}

/// Lets the writing thread go on meanwhile.
void Engine::store(Batch& batch, Lock& lock) {
    const Storing storing(isStoring, lock);
    recorder.commit(batch.commit);
    batch.isStored = true;
    recorder.publish();
}

/// Adds blocks of the queue, and returns how many: not all of a long queue, so that the writing
/// thread gets blocks back early.
std::size_t Engine::addQueued(Commit& commit) const {
    std::size_t count = 0;
    std::size_t byteCount = 0;
    for (; count < queue.size() && byteCount < commitByteCount; ++count) {
        const FullBlock& full = queue[count];
        if (full.discardFrom) {
            commit.discards.push_back({full.group->position, *full.discardFrom});
        }
        commit.pieces.push_back(
            {full.group->position, full.firstStep, full.block.elements.get(), full.rowCount});
        byteCount += full.block.elementCount * sizeof(double);
    }
    return count;
}

void Engine::takeRows(GroupBuffer& group, Commit& commit, std::vector<Taken>& taken) {
    const std::size_t count = group.rowCount.load(std::memory_order_acquire);
    if (count == group.takenCount && !group.discardFrom) {
        return;
    }
    taken.push_back({&group, group.firstStep, group.takenCount, group.discardFrom});
    if (group.discardFrom) {
        commit.discards.push_back({group.position, *group.discardFrom});
        group.discardFrom.reset();
    }
    if (count > group.takenCount) {
        commit.pieces.push_back({group.position, group.firstStep + group.takenCount,
                                 group.row(group.takenCount), count - group.takenCount});
        group.takenCount = count;
    }
}

void Engine::giveBackBlocks(std::size_t count) {
    for (; count > 0; --count) {
        pool.giveBack(std::move(queue.front().block));
        queue.pop_front();
    }
}

/// A block's first rows may be stored already, from a commit before it was full.
std::optional<UnstoredSample> Engine::firstUnstored(const Commit& commit) const {
    if (commit.pieces.empty()) {
        return std::nullopt;
    }
    const Piece& first = commit.pieces.front();
    std::size_t storedCount = recorder.storedStepCount(first.group);
    for (const Discard& discard : commit.discards) {
        if (discard.group == first.group) {
            storedCount = std::min(storedCount, discard.firstStep);
        }
    }
    return UnstoredSample{groups[first.group]->id, std::max(first.firstStep, storedCount)};
}

/// What the next call throws because of the cause; std::bad_alloc if there is no memory for it.
std::exception_ptr Engine::failureOf(const Batch& batch, std::string_view cause) const noexcept {
    try {
        // The file is named without its directory, which the error names anyway.
        const bool isFileHere =
            cause.substr(0, location.size()) == location && cause.substr(location.size(), 1) == "/";
        cause.remove_prefix(isFileHere ? location.size() + 1 : 0);
        return std::make_exception_ptr(
            RecordingError(location, std::string(cause),
                           batch.isStored ? std::nullopt : firstUnstored(batch.commit)));
    } catch (const std::exception&) { // Two failures at once. GCOVR_EXCL_START
        return std::current_exception();
    } // GCOVR_EXCL_STOP
}

void Engine::keepFailure(const Batch& batch, std::exception_ptr thrown) noexcept {
    for (const auto& [group, firstStep, formerCount, formerDiscard] : batch.taken) {
        // If the block has become full meanwhile, all of it waits in the queue.
        if (!batch.isStored && group->firstStep == firstStep) {
            group->takenCount = formerCount;
            group->discardFrom = formerDiscard;
        }
    }
    failure = std::move(thrown);
    hasFailed.store(true, std::memory_order_relaxed);
}

} // namespace logging2::core::detail
