#include "FrameworkCore.hpp"

namespace cppmicroservices::detail {

FrameworkCore::~FrameworkCore() {
    stop();
}

void FrameworkCore::init() {
    std::unique_lock lock(mutex);
    stopped.wait(lock, [this] { return current != Bundle::STATE_STOPPING; });
    if (current == Bundle::STATE_INSTALLED || current == Bundle::STATE_RESOLVED) {
        run = std::make_shared<Registry>(weak_from_this());
        current = Bundle::STATE_STARTING;
    }
}

void FrameworkCore::start() {
    init();
    std::shared_ptr<Registry> started;
    {
        const std::scoped_lock lock(mutex);
        if (current != Bundle::STATE_STARTING) {
            return;
        }
        current = Bundle::STATE_ACTIVE;
        started = run;
    }
    started->send(FrameworkEvent(FrameworkEvent::FRAMEWORK_STARTED));
}

void FrameworkCore::stop() {
    std::shared_ptr<Registry> ending;
    {
        const std::scoped_lock lock(mutex);
        if (current != Bundle::STATE_STARTING && current != Bundle::STATE_ACTIVE) {
            return;
        }
        current = Bundle::STATE_STOPPING;
        ending = run;
    }
    ending->close();
    const std::scoped_lock lock(mutex);
    current = Bundle::STATE_RESOLVED;
    stopped.notify_all();
}

FrameworkEvent FrameworkCore::waitForStop(std::chrono::milliseconds timeout) {
    const auto isStopped = [this] { return current == Bundle::STATE_RESOLVED; };
    std::unique_lock lock(mutex);
    if (current == Bundle::STATE_INSTALLED) {
        return FrameworkEvent(FrameworkEvent::FRAMEWORK_ERROR);
    }
    if (timeout == std::chrono::milliseconds::zero()) {
        stopped.wait(lock, isStopped);
    } else if (!stopped.wait_for(lock, timeout, isStopped)) {
        return FrameworkEvent(FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
    }
    return FrameworkEvent(FrameworkEvent::FRAMEWORK_STOPPED);
}

Bundle::State FrameworkCore::state() const {
    const std::scoped_lock lock(mutex);
    return current;
}

std::shared_ptr<Registry> FrameworkCore::registry() const {
    const std::scoped_lock lock(mutex);
    return run;
}

} // namespace cppmicroservices::detail
