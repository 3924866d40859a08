#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include "detail/FrameworkCore.hpp"

#include <stdexcept>
#include <utility>

namespace cppmicroservices {

Bundle::Bundle(std::shared_ptr<detail::FrameworkCore> shared) : core(std::move(shared)) {}

Bundle::operator bool() const {
    return core != nullptr;
}

Bundle& Bundle::operator=(std::nullptr_t) {
    core = nullptr;
    return *this;
}

bool Bundle::operator==(const Bundle& other) const {
    return core == other.core;
}

bool Bundle::operator!=(const Bundle& other) const {
    return core != other.core;
}

detail::FrameworkCore& Bundle::requireCore() const {
    if (!core) {
        throw std::invalid_argument("invalid bundle");
    }
    return *core;
}

Bundle::State Bundle::GetState() const {
    return requireCore().state();
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

void Framework::Init() {
    requireCore().init();
}

FrameworkEvent Framework::WaitForStop(const std::chrono::milliseconds& timeout) {
    return requireCore().waitForStop(timeout);
}

// Members, as the API has them.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Framework FrameworkFactory::NewFramework() {
    return NewFramework({});
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Framework FrameworkFactory::NewFramework(const FrameworkConfiguration& /*configuration*/,
                                         std::ostream* /*logger*/) {
    return Framework(std::make_shared<detail::FrameworkCore>());
}

FrameworkEvent::FrameworkEvent(Type kind, std::string text, std::exception_ptr cause)
    : type(kind),
      message(std::move(text)),
      throwable(std::move(cause)) {}

FrameworkEvent::Type FrameworkEvent::GetType() const {
    return type;
}

std::string FrameworkEvent::GetMessage() const {
    return message;
}

std::exception_ptr FrameworkEvent::GetThrowable() const {
    return throwable;
}

} // namespace cppmicroservices
