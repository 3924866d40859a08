#pragma once

#include <atomic>
#include <thread>
#include <utility>

namespace logging2::core::bench {

/// Another thread that stores rows, too, while a contender is measured.
class Companion {
public:
    Companion() = default;
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    ~Companion() {
        end();
        if (thread.joinable()) {
            thread.join();
        }
    }

    /// Calls the function again and again until the end, and returns when the first call begins.
    /// The function may return early if goesOn() is false.
    template <class Function>
    void start(Function function) {
        thread = std::thread([this, function = std::move(function)] {
            isStarted = true;
            while (goesOn()) {
                function();
            }
        });
        while (!isStarted) {
        }
    }

    bool goesOn() const noexcept { return !isEnding.load(std::memory_order_relaxed); }

    /// Does not wait.
    void end() noexcept { isEnding = true; }

private:
    std::atomic<bool> isStarted{false};
    std::atomic<bool> isEnding{false};
    std::thread thread;
};

} // namespace logging2::core::bench
