#pragma once

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/GroupBuffer.hpp>
#include <logging2/backends/recording/detail/Recorder.hpp>
#include <logging2/backends/recording/detail/fork_count.hpp>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

namespace logging2::core::detail {

/// Takes rows on the host's thread and stores them on a thread of its own.
///
/// The road of a row: write() copies it into its group's block. A full block goes to the queue; the
/// storing thread makes chunks of the queue's blocks and gives the blocks back. After the commit
/// interval it stores what the blocks that are not full hold, too.
class Engine {
public:
    Engine(std::string directory, const RecordingOptions& options, const Description& description,
           bool discardsOnRegression);
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Stores what it holds as an interrupted run, unless end() has succeeded. Not to be called in
    /// a forked child, where the thread and the locks are missing.
    ~Engine();

    /// Whether this process is a forked child of the one that made the engine.
    bool belongsToParent() const noexcept;

    void write(std::size_t group, double time, const double* values, std::size_t n) {
        GroupBuffer& buffer = bufferOf(group);
        const std::size_t count = buffer.rowCount.load(std::memory_order_relaxed);
        if (count < buffer.capacity && n + 1 == buffer.rowLength && isCalm()) {
            append(buffer, count, time, values, n);
        } else {
            writeWithCare(buffer, time, values, n);
        }
    }
    void rollback(std::size_t group, double time);

    /// Stores everything and shows it.
    void storeAll();

    /// Stores everything, ends the run and the thread. Does nothing if that was done before.
    void end();

private:
    /// A full block on its way to the file.
    struct FullBlock {
        GroupBuffer* group;
        std::size_t firstStep;
        std::size_t rowCount;
        Block block;
        std::optional<std::size_t> discardFrom; ///< stored steps to be discarded before
    };

    /// Rows of a block that is not full, on their way to the file.
    struct Taken {
        GroupBuffer* group;
        std::size_t firstStep;   ///< of the block
        std::size_t formerCount; ///< takenCount before
        std::optional<std::size_t> formerDiscard;
    };

    /// What the storing thread stores at once.
    struct Batch {
        Commit commit;
        std::vector<Taken> taken;
        std::size_t blockCount = 0; ///< of the queue
        bool servesRequest = false;
        bool isStored = false;

        bool isEmpty() const {
            return commit.pieces.empty() && commit.discards.empty() && !servesRequest;
        }
    };

    using Lock = std::unique_lock<std::mutex>;

    /// Gives the lock away while the recorder works.
    class Storing {
    public:
        Storing(bool& flag, Lock& given) : isStoring(flag), lock(given) {
            isStoring = true;
            lock.unlock();
        }
        ~Storing() {
            lock.lock();
            isStoring = false;
        }
        Storing(const Storing&) = delete;
        Storing& operator=(const Storing&) = delete;

    private:
        bool& isStoring;
        Lock& lock;
    };

    GroupBuffer& bufferOf(std::size_t group) const {
        return group < groupsByIndex.size() && groupsByIndex[group] != nullptr
                   ? *groupsByIndex[group]
                   : bufferOfLargeId(group);
    }

    /// Whether a write needs nothing but room.
    bool isCalm() const noexcept {
        return !obeysRegression && !hasEnded && fork_count() == bornAtFork &&
               !hasFailed.load(std::memory_order_relaxed);
    }

    /// In doubles.
    static constexpr std::size_t prefetchDistance = 128;

    static void append(GroupBuffer& buffer, std::size_t count, double time, const double* values,
                       std::size_t n) {
        double* const row = buffer.row(count);
        // The block's memory was last used by the storing thread, on another core.
        __builtin_prefetch(row + prefetchDistance, 1);
        // A NaN is neither after nor before another time.
        buffer.ascends =
            count == 0 ? time == time : buffer.ascends && *buffer.row(count - 1) <= time;
        *row = time;
        std::copy_n(values, n, row + 1);
        buffer.rowCount.store(count + 1, std::memory_order_release);
    }

    GroupBuffer& bufferOfLargeId(std::size_t group) const;
    void writeWithCare(GroupBuffer& buffer, double time, const double* values, std::size_t n);
    void checkCall();
    void throwFailure();
    [[noreturn]] void refuse(const char* what) const;
    void makeRoom(GroupBuffer& group);
    void queueBlock(GroupBuffer& group);
    std::size_t stepsNotLaterThan(const GroupBuffer& group, double time);
    double lastTimeOf(const GroupBuffer& group, std::size_t stepCount);
    void discardAtRegression(GroupBuffer& group, double time);
    void discardFrom(GroupBuffer& group, std::size_t step);
    void keepRows(GroupBuffer& group, std::size_t rowCount);
    void discardStored(GroupBuffer& group, std::size_t step);
    void showDiscard();
    void waitUntilIdle(Lock& lock, bool withQueue);
    void request(Lock& lock, bool showAll, const char* endState);

    void storeUntilStopped();
    void storeOnce(Lock& lock, bool withPartialBlocks);
    void collect(Batch& batch, bool withPartialBlocks);
    void store(Batch& batch, Lock& lock);
    std::size_t addQueued(Commit& commit) const;
    static void takeRows(GroupBuffer& group, Commit& commit, std::vector<Taken>& taken);
    void giveBackBlocks(std::size_t count);
    std::optional<UnstoredSample> firstUnstored(const Commit& commit) const;
    std::exception_ptr failureOf(const Batch& batch, std::string_view cause) const noexcept;
    void keepFailure(const Batch& batch, std::exception_ptr thrown) noexcept;
    void stopThread();
    void endInterrupted() noexcept;

    std::string location;
    const bool obeysRegression;
    const unsigned bornAtFork;
    const std::chrono::milliseconds commitInterval;
    std::vector<std::unique_ptr<GroupBuffer>> groups;
    std::vector<GroupBuffer*> groupsByIndex; ///< those of small ids, by their id
    std::unordered_map<std::size_t, GroupBuffer*> groupsByLargeId;
    bool hasEnded = false;    ///< of the writing thread alone
    bool owesDiscard = false; ///< of the writing thread alone: readers see what was discarded

    std::mutex mutex;
    std::condition_variable workArrived;
    std::condition_variable workDone;
    std::atomic<bool> hasFailed{false};

    // Guarded by the mutex. The recorder is used by the storing thread while isStoring is set, and
    // under the mutex otherwise.
    Recorder recorder;
    BlockPool pool;
    std::deque<FullBlock> queue;
    std::exception_ptr failure;
    bool isStoring = false;
    bool isStopping = false;
    bool isRequested = false; ///< everything is to be stored now
    bool showsAll = false;    ///< together with isRequested
    const char* endState = nullptr;

    std::thread thread;
};

} // namespace logging2::core::detail
