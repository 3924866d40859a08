#include <tests/registry/side_by_side/RealFramework.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include <chrono>

namespace side_by_side {

using namespace cppmicroservices;

struct RealFramework::State {
    Framework framework = FrameworkFactory().NewFramework();
};

RealFramework::RealFramework() : state(std::make_unique<State>()) {
    state->framework.Start();
}

RealFramework::~RealFramework() {
    state->framework.Stop();
    state->framework.WaitForStop(std::chrono::milliseconds(0));
}

void RealFramework::add(const std::string& name) {
    state->framework.GetBundleContext().RegisterService<Greeter>(
        std::make_shared<NamedGreeter>(name), {{"name", name}});
}

std::vector<std::string> RealFramework::greetings(const std::string& filter) const {
    std::vector<std::string> found;
    BundleContext context = state->framework.GetBundleContext();
    for (const auto& reference : context.GetServiceReferences<Greeter>(filter)) {
        found.push_back(context.GetService(reference)->greeting());
    }
    return found;
}

bool RealFramework::refusesAnInvalidContext() {
    try {
        BundleContext().GetServiceReferences<Greeter>();
    } catch (const IllegalStateException&) {
        return true;
    }
    return false;
}

} // namespace side_by_side
