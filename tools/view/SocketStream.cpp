#include <tools/view/SocketStream.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/request_head.hpp>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace logging2::tools::view {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds greatestHeadTime{10};
constexpr std::chrono::seconds greatestWriteTime{10};
constexpr std::chrono::milliseconds greatestEndTime{500};

/// Waits for one of the events; false if none comes in time.
bool wait_for(int descriptor, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd entry{descriptor, events, 0};
        const int count = poll(&entry, 1, std::max(0, static_cast<int>(left.count())));
        if (count > 0 || (count == 0 && Clock::now() >= deadline)) {
            return count > 0;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
    }
}

} // namespace

bool SocketStream::receive(Clock::time_point deadline) {
    if (!wait_for(descriptor, POLLIN, deadline)) {
        return false;
    }
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
        received.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

std::optional<std::string> SocketStream::receiveHead(std::chrono::milliseconds idleTime) {
    Clock::time_point deadline =
        Clock::now() + (received.empty() ? idleTime : std::chrono::milliseconds(greatestHeadTime));
    for (;;) {
        if (const auto byteCount = head_byte_count(received)) {
            std::string result = received.substr(0, *byteCount);
            received.erase(0, *byteCount);
            return result;
        }
        if (received.size() > greatestHeadByteCount) {
            throw HttpError(status::headersTooLarge, "The request is too long.");
        }
        const bool isFirst = received.empty();
        if (!receive(deadline)) {
            if (!isFirst && isOpen()) {
                throw HttpError(status::requestTimeout,
                                "The request took longer than ten seconds.");
            }
            return std::nullopt;
        }
        deadline = isFirst ? Clock::now() + greatestHeadTime : deadline;
    }
}

void SocketStream::offer(std::string requestHead) {
    head = std::move(requestHead);
    position = 0;
}

void SocketStream::endPolitely() {
    shutdown(descriptor, SHUT_WR);
    const Clock::time_point deadline = Clock::now() + greatestEndTime;
    // Closing a socket with unread bytes would take the answer away from the client.
    do {
        received.clear();
    } while (receive(deadline) && Clock::now() < deadline);
}

bool SocketStream::isOpen() const {
    pollfd entry{descriptor, POLLRDHUP, 0};
    return poll(&entry, 1, 0) == 0;
}

ssize_t SocketStream::read(char* to, size_t size) {
    const std::size_t count = std::min(size, head.size() - position);
    std::memcpy(to, head.data() + position, count);
    position += count;
    return static_cast<ssize_t>(count);
}

ssize_t SocketStream::write(const char* from, size_t size) {
    const Clock::time_point deadline = Clock::now() + greatestWriteTime;
    for (;;) {
        const ssize_t count = send(descriptor, from, size, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0) {
            return count;
        }
        const bool isFull = errno == EAGAIN || errno == EINTR;
        if (!isFull || !wait_for(descriptor, POLLOUT, deadline)) {
            return -1;
        }
    }
}

// Nobody asks for the addresses: all clients are on this machine.

void SocketStream::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

void SocketStream::get_local_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

} // namespace logging2::tools::view
