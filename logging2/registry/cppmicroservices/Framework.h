#pragma once

#include <cppmicroservices/Bundle.h>
#include <logging2/registry/export.hpp>

#include <chrono>
#include <memory>

namespace cppmicroservices {
inline namespace logging2_registry {

class FrameworkEvent;

/// A service registry that is independent of every other one in the process.
class LOGGING2_REGISTRY_EXPORT Framework : public Bundle {
public:
    /// Waits until the framework has stopped or the timeout has passed. A timeout of 0 waits
    /// without a limit.
    ///
    /// Returns an event of the type FRAMEWORK_STOPPED if the framework has stopped, however often
    /// it is called; FRAMEWORK_WAIT_TIMEDOUT if the timeout has passed; and FRAMEWORK_ERROR if the
    /// framework was never started.
    FrameworkEvent WaitForStop(const std::chrono::milliseconds& timeout);

private:
    friend class FrameworkFactory;

    using Bundle::Bundle;
};

} // namespace logging2_registry
} // namespace cppmicroservices
