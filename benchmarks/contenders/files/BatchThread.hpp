#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace logging2::core::bench {

/// Hands batches of one group's rows to a background thread through one slot, as the file-backed
/// writer does. Unlike that writer, it waits until the slot is free and never replaces a batch.
class BatchThread {
public:
    using Consumer = std::function<void(std::size_t group, const std::vector<double>& rows)>;

    explicit BatchThread(Consumer batchConsumer)
        : consumer(std::move(batchConsumer)),
          thread([this] { consumeAll(); }) {}

    ~BatchThread() { finish(); }

    /// Puts the batch into the slot. Waits until the slot is free.
    void handOver(std::size_t group, std::vector<double> rows) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return slot.empty(); });
        slot = std::move(rows);
        slotGroup = group;
        changed.notify_all();
    }

    /// Ends the thread after the batch in the slot. Further calls do nothing.
    void finish() {
        {
            const std::lock_guard lock(mutex);
            stopRequested = true;
            changed.notify_all();
        }
        if (thread.joinable()) {
            thread.join();
        }
    }

private:
    void consumeAll() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return !slot.empty() || stopRequested; });
            if (slot.empty()) {
                return;
            }
            consumer(slotGroup, slot);
            slot.clear();
            changed.notify_all();
        }
    }

    Consumer consumer;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<double> slot;   // guarded by mutex
    std::size_t slotGroup = 0;  // guarded by mutex
    bool stopRequested = false; // guarded by mutex
    std::thread thread;         // started last
};

} // namespace logging2::core::bench
