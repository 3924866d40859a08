#pragma once

#include <httplib.h>

#include <chrono>
#include <optional>
#include <string>

namespace logging2::tools::view {

/// The bytes of a connection. The HTTP library reads only the head that was given to it, so a
/// client cannot make it wait or fill its memory. Writing to a client that takes nothing fails
/// after ten seconds.
class SocketStream final : public httplib::Stream {
public:
    /// The socket belongs to the caller.
    explicit SocketStream(int connectedSocket) noexcept : descriptor(connectedSocket) {}

    /// Waits for the head of the next request. Empty if the client has closed the connection, or if
    /// nothing came for idleTime. Throws HttpError with status 408 if the head is not complete ten
    /// seconds after its first byte, and 431 if it is too long.
    std::optional<std::string> receiveHead(std::chrono::milliseconds idleTime);

    /// The head that the library is to read.
    void offer(std::string requestHead);

    /// Whether the client still listens.
    bool isOpen() const;

    /// Tells the client that this was all, and lets it read that although it may still be sending.
    void endPolitely();

    bool is_readable() const override { return position < head.size(); }
    bool is_writable() const override { return isOpen(); }
    ssize_t read(char* to, size_t size) override;
    ssize_t write(const char* from, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return descriptor; }

private:
    bool receive(std::chrono::steady_clock::time_point deadline);

    int descriptor;
    std::string received; ///< and not yet part of a head
    std::string head;
    std::size_t position = 0; ///< in the head
};

} // namespace logging2::tools::view
