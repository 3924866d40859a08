#pragma once

#include <tools/Descriptor.hpp>

#include <csignal>

namespace logging2::tools::view {

/// While it lives, SIGINT, SIGTERM and SIGHUP do not end the process but make a descriptor
/// readable. Must be made before any thread is started.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int descriptor() const noexcept { return signals.get(); }

private:
    sigset_t former{};
    Descriptor signals;
};

} // namespace logging2::tools::view
