#pragma once

#include <cppmicroservices/Bundle.h>
#include <logging2/export.hpp>

#include <chrono>
#include <memory>

namespace cppmicroservices {

class FrameworkEvent;

/// A service registry of its own, independent of every other one in the process.
class LOGGING2_EXPORT Framework : public Bundle {
public:
    /// Makes the context valid: services can be registered and found, already before `Start`.
    void Init();

    /// Waits until the framework has stopped; `timeout` 0 waits for ever.
    ///
    /// The event says STOPPED, also when asked again; WAIT_TIMEDOUT when the time is over; ERROR
    /// when the framework was never initialised.
    FrameworkEvent WaitForStop(const std::chrono::milliseconds& timeout);

private:
    friend class FrameworkFactory;

    using Bundle::Bundle;
};

} // namespace cppmicroservices
