#include <tools/view/Server.hpp>

#include <tools/UsageError.hpp>
#include <tools/view/Connections.hpp>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <thread>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestConnectionCount = 256;
constexpr int backlog = 512;

/// How often it is checked whether the server is idle.
constexpr int tickMilliseconds = 200;

[[noreturn]] void fail(int port) {
    const std::string reason = std::generic_category().message(errno);
    throw UsageError("port " + std::to_string(port) + " of 127.0.0.1 cannot be used: " + reason);
}

sockaddr_in loopback_address(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

Descriptor listening_socket(int port) {
    Descriptor result(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // A server that was started again shortly after another one gets the same port.
    const int yes = 1;
    setsockopt(result.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    const sockaddr_in address = loopback_address(port);
    const auto* const general = reinterpret_cast<const sockaddr*>(&address);
    if (result.get() == -1 || bind(result.get(), general, sizeof address) != 0 ||
        listen(result.get(), backlog) != 0) {
        fail(port);
    }
    return result;
}

int port_of(const Descriptor& socket) {
    sockaddr_in address{};
    socklen_t byteCount = sizeof address;
    if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &byteCount) != 0) {
        fail(0);
    }
    return ntohs(address.sin_port);
}

} // namespace

Server::Server(int wantedPort)
    : listener(listening_socket(wantedPort)),
      usedPort(port_of(listener)) {}

void Server::run(RequestHandler& handler, int stopDescriptor,
                 std::optional<std::chrono::milliseconds> idleTime) {
    Connections connections(handler, greatestConnectionCount);
    for (;;) {
        std::array<pollfd, 2> entries{{{stopDescriptor, POLLIN, 0}, {listener.get(), POLLIN, 0}}};
        poll(entries.data(), entries.size(), tickMilliseconds);
        if (entries[0].revents != 0 ||
            (idleTime && Connections::Clock::now() - connections.idleSince() >= *idleTime)) {
            return;
        }
        connections.removeEnded();
        if (Descriptor socket = accepted(); socket.get() != -1) {
            connections.add(std::move(socket));
        }
    }
}

/// The next connection; none if there is none now, or if it has ended already.
Descriptor Server::accepted() const {
    Descriptor socket(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.get() == -1 && (errno == EMFILE || errno == ENFILE || errno == ENOMEM)) {
        // Until one of the others has ended.
        std::this_thread::sleep_for(std::chrono::milliseconds(tickMilliseconds));
    }
    const int yes = 1;
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    return socket;
}

} // namespace logging2::tools::view
