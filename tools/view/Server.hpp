#pragma once

#include <tools/Descriptor.hpp>
#include <tools/view/RequestHandler.hpp>

#include <chrono>
#include <optional>

namespace logging2::tools::view {

/// Listens on this machine's own address, 127.0.0.1, and nowhere else.
class Server {
public:
    /// Takes the port, or a free one if it is 0. Throws UsageError if the port is taken.
    explicit Server(int wantedPort);

    int port() const noexcept { return usedPort; }

    /// Answers requests until one can read from the descriptor, or until no request has come for
    /// the idle time.
    void run(RequestHandler& handler, int stopDescriptor,
             std::optional<std::chrono::milliseconds> idleTime);

private:
    Descriptor accepted() const;

    Descriptor listener;
    int usedPort;
};

} // namespace logging2::tools::view
