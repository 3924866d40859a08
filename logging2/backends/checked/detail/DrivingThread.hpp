#pragma once

#include <atomic>
#include <thread>

namespace logging2::core::detail {

/// The thread that is inside a call of a writer, if there is one.
///
/// It orders nothing between threads: a caller that passes a writer on without synchronisation
/// stays visible to a tool that looks for data races.
class DrivingThread {
public:
    /// Stands for a call as long as it runs.
    class Call {
    public:
        /// Throws std::logic_error that names the operation if another thread is inside a call. A
        /// call from within a call is on the same thread and allowed, for example by a warning
        /// handler.
        Call(DrivingThread& driver, const char* operation) : inside(driver.inside) {
            const std::thread::id caller = std::this_thread::get_id();
            std::thread::id found;
            isOutermost = inside.compare_exchange_strong(found, caller, std::memory_order_relaxed);
            if (!isOutermost && found != caller) {
                fail(operation);
            }
        }

        ~Call() {
            if (isOutermost) {
                inside.store(std::thread::id(), std::memory_order_relaxed);
            }
        }

        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

    private:
        [[noreturn]] static void fail(const char* operation);

        std::atomic<std::thread::id>& inside;
        bool isOutermost;
    };

private:
    std::atomic<std::thread::id> inside{std::thread::id()}; // no thread
};

} // namespace logging2::core::detail
