#pragma once

#include "Registry.hpp"

#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/FrameworkEvent.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace cppmicroservices::detail {

/// The life of a framework: from run to run, each with a registry of its own.
///
/// All handles share it; it stops when the last one goes.
class FrameworkCore : public std::enable_shared_from_this<FrameworkCore> {
public:
    FrameworkCore() = default;
    FrameworkCore(const FrameworkCore&) = delete;
    FrameworkCore& operator=(const FrameworkCore&) = delete;
    ~FrameworkCore();

    void init();
    void start();
    void stop();
    FrameworkEvent waitForStop(std::chrono::milliseconds timeout);

    Bundle::State state() const;

    /// Null before the first run, closed after each.
    std::shared_ptr<Registry> registry() const;

private:
    mutable std::mutex mutex;
    std::condition_variable stopped;
    Bundle::State current = Bundle::STATE_INSTALLED; // guarded by mutex
    std::shared_ptr<Registry> run;                   // guarded by mutex
};

} // namespace cppmicroservices::detail
