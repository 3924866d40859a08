#pragma once

#include <cppmicroservices/Bundle.h>
#include <logging2/registry/export.hpp>

#include <chrono>
#include <memory>

namespace cppmicroservices {
inline namespace logging2_registry {

class FrameworkEvent;

/// A service registry of its own, independent of every other one in the process.
class LOGGING2_REGISTRY_EXPORT Framework : public Bundle {
public:
    /// Waits until the framework has stopped; `timeout` 0 waits for ever.
    ///
    /// The event says STOPPED, also if asked again; WAIT_TIMEDOUT if the time is over; ERROR if the
    /// framework was never started.
    FrameworkEvent WaitForStop(const std::chrono::milliseconds& timeout);

private:
    friend class FrameworkFactory;

    using Bundle::Bundle;
};

} // namespace logging2_registry
} // namespace cppmicroservices
