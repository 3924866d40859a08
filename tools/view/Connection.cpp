#include <tools/view/Connection.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/lower_case.hpp>
#include <tools/view/request_head.hpp>
#include <tools/view/small_pages.hpp>

#include <utility>

namespace logging2::tools::view {
namespace {

/// A client that sends no further request for so long has to connect again.
constexpr std::chrono::seconds keptTime{30};

/// There is no limit, but clients are told one.
constexpr std::size_t greatestRequestCount = 1'000'000;

/// What the library needs to write an answer to a request that it must not see.
constexpr const char* neutralHead = "GET / HTTP/1.1\r\nConnection: close\r\n\r\n";

Request request_of(const httplib::Request& parsed) {
    Request request{parsed.method, parsed.target, {}};
    for (const auto& [name, value] : parsed.headers) {
        std::string& joined = request.headers[lower_case(name)];
        joined += (joined.empty() ? "" : ", ") + value;
    }
    return request;
}

} // namespace

Connection::Connection(int connectedSocket, RequestHandler& requestHandler,
                       std::function<void(ConnectionState)> stateSink)
    : connection(connectedSocket),
      handler(requestHandler),
      tellState(std::move(stateSink)) {
    // Without a socket, the library takes itself for stopped.
    svr_sock_ = connectedSocket;
    keep_alive_timeout_sec_ = keptTime.count();
    keep_alive_max_count_ = greatestRequestCount;
    set_pre_routing_handler([this](const httplib::Request& parsed, httplib::Response& response) {
        fill(parsed, response);
        return HandlerResponse::Handled;
    });
}

void Connection::serve() {
    while (serveNext()) {
    }
    connection.endPolitely();
}

/// Whether the connection goes on.
bool Connection::serveNext() {
    tellState(ConnectionState::waiting);
    std::string head = neutralHead;
    refusal.reset();
    try {
        const std::optional<std::string> received = connection.receiveHead(keptTime);
        if (!received) {
            return false;
        }
        head = checked_head(*received);
    } catch (const HttpError& error) {
        refusal = RequestHandler::refuse(error, "");
    }
    tellState(ConnectionState::answering);
    connection.offer(std::move(head));
    bool isClosed = refusal.has_value();
    return process_request(connection, isClosed, isClosed, nullptr) && !isClosed;
}

void Connection::fill(const httplib::Request& parsed, httplib::Response& response) {
    Reply reply = refusal ? std::move(*refusal) : handler.answer(request_of(parsed));
    response.status = reply.status;
    for (const auto& [name, value] : reply.headers) {
        response.set_header(name, value);
    }
    if (reply.next) {
        stream(response, reply);
    } else {
        response.body = std::move(reply.body);
        response.set_header("Content-Type", reply.contentType);
    }
}

void Connection::stream(httplib::Response& response, const Reply& reply) {
    if (reply.isEndless) {
        tellState(ConnectionState::endless);
    }
    const auto provide = [this, next = reply.next](std::size_t, httplib::DataSink& sink) {
        return connection.isOpen() && sendPiece(next, sink);
    };
    response.set_chunked_content_provider(reply.contentType, provide);
}

/// False if the connection must be closed in the middle of the answer, so that the client knows.
bool Connection::sendPiece(const std::function<bool(const Sink&)>& next,
                           httplib::DataSink& sink) noexcept {
    const Sink write = [&sink](std::string_view bytes) {
        return sink.write(bytes.data(), bytes.size());
    };
    try {
        if (!next(write)) {
            sink.done();
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace logging2::tools::view
