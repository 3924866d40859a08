#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include "detail/FrameworkCore.hpp"

#include <stdexcept>
#include <utility>

namespace cppmicroservices {

Bundle::Bundle(std::shared_ptr<detail::FrameworkCore> shared) : core(std::move(shared)) {}

detail::FrameworkCore& Bundle::requireCore() const {
    if (!core) {
        throw std::invalid_argument("invalid bundle");
    }
    return *core;
}

BundleContext Bundle::GetBundleContext() const {
    return BundleContext(requireCore().registry());
}

void Bundle::Start() {
    requireCore().start();
}

void Bundle::Stop() {
    requireCore().stop();
}

FrameworkEvent Framework::WaitForStop(const std::chrono::milliseconds& timeout) {
    return requireCore().waitForStop(timeout);
}

// A member function, as in the API of CppMicroServices.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Framework FrameworkFactory::NewFramework() {
    return Framework(std::make_shared<detail::FrameworkCore>());
}

} // namespace cppmicroservices
