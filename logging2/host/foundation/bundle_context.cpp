#include <logging2/host/foundation/bundle_context.hpp>

#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include <chrono>
#include <mutex>
#include <optional>

namespace foundation {
namespace {

struct Core {
    std::mutex mutex;
    std::optional<cppmicroservices::Framework> framework; // guarded by mutex; set once
};

Core& core() {
    // Never destroyed, because a framework that is destroyed with the static objects starts a
    // thread.
    static Core* const instance = new Core;
    return *instance;
}

/// Returns a handle of its own, so that no code of the framework runs while the mutex is held. A
/// service that is released when the framework stops may call get_global_bundle_context().
std::optional<cppmicroservices::Framework> current_framework() {
    const std::lock_guard lock(core().mutex);
    return core().framework;
}

} // namespace

void install_and_start_vantrel_core() {
    const std::lock_guard lock(core().mutex);
    if (core().framework) {
        return;
    }
    cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
    framework.Start();
    core().framework = framework;
}

cppmicroservices::BundleContext get_global_bundle_context() {
    const auto framework = current_framework();
    return framework ? framework->GetBundleContext() : cppmicroservices::BundleContext();
}

void stop_vantrel_core() {
    if (auto framework = current_framework()) {
        framework->Stop();
        framework->WaitForStop(std::chrono::milliseconds::zero());
    }
}

} // namespace foundation
