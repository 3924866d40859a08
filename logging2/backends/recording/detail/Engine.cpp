#include <logging2/backends/recording/detail/Engine.hpp>

#include <logging2/backends/recording/detail/buffer_plan.hpp>
#include <logging2/backends/recording/detail/fork_count.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace logging2::core::detail {
namespace {

/// If more than this waits to be stored, a full group first waits for a block to come back.
constexpr std::size_t patientDoubleCount = std::size_t{1024} * 1024;
constexpr std::chrono::milliseconds patience{2};

/// The longest wait between commits: longer ones would exceed the clock's range.
constexpr std::chrono::milliseconds longestInterval = std::chrono::hours(24) * 365;

/// Groups of smaller ids are found by index.
constexpr std::size_t smallIdCount = std::size_t{1} << 16;

std::vector<std::unique_ptr<GroupBuffer>> buffers_of(const RecordingOptions& options,
                                                     const std::vector<DescribedGroup>& described) {
    std::vector<std::unique_ptr<GroupBuffer>> buffers;
    const std::vector<std::size_t> capacities = row_capacities(options, described);
    for (const DescribedGroup& group : described) {
        auto buffer = std::make_unique<GroupBuffer>();
        buffer->id = group.id;
        buffer->position = buffers.size();
        buffer->rowLength = row_length(group);
        buffer->rowsPerBlock = capacities[buffer->position];
        buffers.push_back(std::move(buffer));
    }
    return buffers;
}

} // namespace

Engine::Engine(std::string directory, const RecordingOptions& options,
               const Description& description, bool discardsOnRegression)
    : location(std::move(directory)),
      obeysRegression(discardsOnRegression),
      bornAtFork(fork_count()),
      commitInterval(std::min(options.commitInterval, longestInterval)),
      groups(buffers_of(options, description.groups)),
      recorder(location, options, description),
      pool(options.bufferByteCount) {
    for (const auto& group : groups) {
        if (group->id >= smallIdCount) {
            groupsByLargeId.emplace(group->id, group.get());
            continue;
        }
        if (group->id >= groupsByIndex.size()) {
            groupsByIndex.resize(group->id + 1);
        }
        groupsByIndex[group->id] = group.get();
    }
    thread = std::thread([this] { storeUntilStopped(); });
}

Engine::~Engine() {
    if (!hasEnded) {
        endInterrupted();
    }
}

bool Engine::belongsToParent() const noexcept {
    return fork_count() != bornAtFork;
}

void Engine::refuse(const char* what) const {
    throw std::logic_error(location + ": " + what);
}

GroupBuffer& Engine::bufferOfLargeId(std::size_t group) const {
    const auto found = groupsByLargeId.find(group);
    if (found == groupsByLargeId.end()) {
        throw std::out_of_range(location + ": there is no group " + std::to_string(group));
    }
    return *found->second;
}

void Engine::checkCall() {
    if (belongsToParent()) {
        // A forked child leaves no counts. GCOVR_EXCL_START
        refuse("the recording belongs to the parent of this process");
        // GCOVR_EXCL_STOP
    }
    if (hasFailed.load(std::memory_order_relaxed)) {
        throwFailure();
    }
}

void Engine::throwFailure() {
    const Lock lock(mutex);
    const std::exception_ptr thrown = std::exchange(failure, nullptr);
    hasFailed.store(false, std::memory_order_relaxed);
    workArrived.notify_one();
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

void Engine::writeWithCare(GroupBuffer& buffer, double time, const double* values, std::size_t n) {
    checkCall();
    if (hasEnded) {
        refuse("write was called after flush");
    }
    if (n + 1 != buffer.rowLength) {
        throw std::invalid_argument(location + ": group " + std::to_string(buffer.id) + " has " +
                                    std::to_string(buffer.rowLength - 1) +
                                    " values per step, but write got " + std::to_string(n));
    }
    if (obeysRegression && buffer.stepCount() > 0 && buffer.lastTime() >= time) {
        discardAtRegression(buffer, time);
    }
    showDiscard();
    std::size_t count = buffer.rowCount.load(std::memory_order_relaxed);
    if (count == buffer.capacity) {
        makeRoom(buffer);
        count = 0;
    }
    append(buffer, count, time, values, n);
}

void Engine::makeRoom(GroupBuffer& group) {
    Lock lock(mutex);
    queueBlock(group);
    if (queue.size() * group.rowsPerBlock * group.rowLength > patientDoubleCount) {
        // A block that was used before is in the cache; new memory is not.
        workDone.wait_for(lock, patience);
    }
    while (group.capacity == 0) {
        if (failure) {
            lock.unlock();
            throwFailure();
        }
        group.block = pool.take(group.rowsPerBlock * group.rowLength);
        if (group.block.elements) {
            group.capacity = group.rowsPerBlock;
        } else {
            workDone.wait(lock);
        }
    }
}

void Engine::queueBlock(GroupBuffer& group) {
    if (group.capacity == 0) {
        return;
    }
    const std::size_t count = group.rowCount.load(std::memory_order_relaxed);
    group.greatestBefore = group.greatestTime();
    group.lastTimeBefore = group.lastTime();
    // First the place, for which there may be no memory.
    queue.emplace_back();
    queue.back() = {&group, group.firstStep, count, std::move(group.block), group.discardFrom};
    group.firstStep += count;
    group.capacity = 0;
    group.rowCount.store(0, std::memory_order_relaxed);
    group.takenCount = 0;
    group.discardFrom.reset();
    workArrived.notify_one();
}

void Engine::waitUntilIdle(Lock& lock, bool withQueue) {
    workDone.wait(lock, [this, withQueue] {
        return failure || (!isStoring && (!withQueue || queue.empty()));
    });
    if (failure) {
        lock.unlock();
        throwFailure();
    }
}

void Engine::request(Lock& lock, bool showAll, const char* state) {
    isRequested = true;
    showsAll = showAll;
    endState = state;
    workArrived.notify_one();
    workDone.wait(lock, [this] { return failure || !isRequested; });
    isRequested = false;
    if (failure) {
        lock.unlock();
        throwFailure();
    }
}

void Engine::storeAll() {
    checkCall();
    if (hasEnded) {
        return;
    }
    Lock lock(mutex);
    request(lock, true, nullptr);
}

void Engine::end() {
    checkCall();
    if (hasEnded) {
        return;
    }
    Lock lock(mutex);
    request(lock, true, "finished");
    lock.unlock();
    stopThread();
}

void Engine::endInterrupted() noexcept {
    try {
        Lock lock(mutex);
        failure = nullptr;
        request(lock, false, "interrupted");
    } catch (const std::exception&) {
        // Without its writer the run counts as interrupted anyway.
    }
    stopThread();
}

void Engine::stopThread() {
    {
        const Lock lock(mutex);
        isStopping = true;
    }
    workArrived.notify_one();
    thread.join();
    hasEnded = true;
}

} // namespace logging2::core::detail
