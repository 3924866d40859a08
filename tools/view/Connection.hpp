#pragma once

#include <tools/view/RequestHandler.hpp>
#include <tools/view/SocketStream.hpp>

#include <httplib.h>

#include <functional>
#include <optional>

namespace logging2::tools::view {

/// What a connection is doing.
enum class ConnectionState {
    waiting, ///< for a request
    answering,
    endless ///< writing an answer that never ends by itself
};

/// Answers the requests of one connection, one after the other. The HTTP library parses requests
/// and writes answers. Its own handling of sockets has no limits for slow clients and long heads,
/// so that is done here.
class Connection : private httplib::Server {
public:
    /// The handler must outlive the object; the socket belongs to the caller. stateSink is told
    /// what the connection is doing.
    Connection(int connectedSocket, RequestHandler& requestHandler,
               std::function<void(ConnectionState)> stateSink);

    /// Returns when the connection has ended.
    void serve();

private:
    bool serveNext();
    void fill(const httplib::Request& parsed, httplib::Response& response);
    void stream(httplib::Response& response, const Reply& reply);
    static bool sendPiece(const std::function<bool(const Sink&)>& next,
                          httplib::DataSink& sink) noexcept;

    SocketStream connection;
    RequestHandler& handler;
    std::function<void(ConnectionState)> tellState;
    std::optional<Reply> refusal; ///< to a request that was not given to the library
};

} // namespace logging2::tools::view
