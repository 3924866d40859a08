#include "FrameworkCore.hpp"

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

FrameworkCore::~FrameworkCore() {
    stop();
}

void FrameworkCore::start() {
    std::unique_lock lock(mutex);
    hasStopped.wait(lock, [this] { return state != State::stopping; });
    if (state != State::active) {
        run = std::make_shared<Registry>(weak_from_this());
        state = State::active;
    }
}

void FrameworkCore::stop() {
    std::shared_ptr<Registry> ending;
    {
        const std::scoped_lock lock(mutex);
        if (state != State::active) {
            return;
        }
        state = State::stopping;
        ending = run;
    }
    ending->close();
    const std::scoped_lock lock(mutex);
    state = State::stopped;
    hasStopped.notify_all();
}

FrameworkEvent FrameworkCore::waitForStop(std::chrono::milliseconds timeout) {
    const auto isStopped = [this] { return state == State::stopped; };
    std::unique_lock lock(mutex);
    if (state == State::installed) {
        return FrameworkEvent(FrameworkEvent::FRAMEWORK_ERROR);
    }
    if (timeout == std::chrono::milliseconds::zero()) {
        hasStopped.wait(lock, isStopped);
    } else if (!hasStopped.wait_for(lock, timeout, isStopped)) {
        return FrameworkEvent(FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
    }
    return FrameworkEvent(FrameworkEvent::FRAMEWORK_STOPPED);
}

std::shared_ptr<Registry> FrameworkCore::registry() const {
    const std::scoped_lock lock(mutex);
    return run;
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
