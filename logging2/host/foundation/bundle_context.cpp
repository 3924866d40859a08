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
    // Never destroyed: a framework that dies with the static objects would start a thread then.
    static Core* const instance = new Core;
    return *instance;
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
    const std::lock_guard lock(core().mutex);
    return core().framework ? core().framework->GetBundleContext()
                            : cppmicroservices::BundleContext();
}

void stop_vantrel_core() {
    const std::lock_guard lock(core().mutex);
    if (core().framework) {
        core().framework->Stop();
        core().framework->WaitForStop(std::chrono::milliseconds::zero());
    }
}

} // namespace foundation
