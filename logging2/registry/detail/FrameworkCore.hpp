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

/// The state of a framework. Each run from a start to a stop has its own registry.
///
/// All handles share the state. The framework stops when the last handle is destroyed.
class FrameworkCore : public std::enable_shared_from_this<FrameworkCore> {
public:
    FrameworkCore() = default;
    FrameworkCore(const FrameworkCore&) = delete;
    FrameworkCore& operator=(const FrameworkCore&) = delete;
    ~FrameworkCore();

    void start();
    void stop();
    FrameworkEvent waitForStop(std::chrono::milliseconds timeout);

    /// Returns the registry of the current run. It is null before the first run, and closed after
    /// each run.
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
