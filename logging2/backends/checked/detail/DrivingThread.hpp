#pragma once

#include <atomic>
#include <thread>

namespace logging2::core::detail {

/// Remembers the thread that is inside a call of a writer, if there is one.
///
/// It does not synchronise threads. A tool that looks for data races can therefore still find a
/// caller that passes a writer to another thread without synchronisation.
class DrivingThread {
public:
    /// Represents a call while it runs.
    class Call {
    public:
        /// Throws std::logic_error with the name of the operation if another thread is inside a
        /// call. A nested call on the same thread is allowed, for example from a warning handler.
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
