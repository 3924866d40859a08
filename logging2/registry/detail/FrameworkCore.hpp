#pragma once

#include "Registry.hpp"

#include <cppmicroservices/FrameworkEvent.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

/// The life of a framework: from run to run, each with a registry of its own.
///
/// All handles share it; it stops when the last one goes.
class FrameworkCore : public std::enable_shared_from_this<FrameworkCore> {
public:
    FrameworkCore() = default;
    FrameworkCore(const FrameworkCore&) = delete;
    FrameworkCore& operator=(const FrameworkCore&) = delete;
    ~FrameworkCore();

    void start();
    void stop();
    FrameworkEvent waitForStop(std::chrono::milliseconds timeout);

    /// Null before the first run, closed after each.
    std::shared_ptr<Registry> registry() const;

private:
    enum class State { installed, active, stopping, stopped };

    mutable std::mutex mutex;
    std::condition_variable hasStopped;
    State state = State::installed; // guarded by mutex
    std::shared_ptr<Registry> run;  // guarded by mutex
};

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
