#include <tools/view/Connections.hpp>

#include <tools/view/HttpError.hpp>

#include <sys/socket.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace logging2::tools::view {
namespace {

/// The answer to a client for whom there is no room.
std::string refusal_text() {
    const Reply reply = RequestHandler::refuse(
        HttpError(status::unavailable, "The server has too many clients."), "/api/");
    std::string text = "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nRetry-After: 1\r\n"
                       "Content-Type: " +
                       reply.contentType +
                       "\r\nContent-Length: " + std::to_string(reply.body.size()) + "\r\n";
    for (const auto& [name, value] : reply.headers) {
        text += name;
        text += ": " + value + "\r\n";
    }
    return text + "\r\n" + reply.body;
}

} // namespace

Connections::Connections(RequestHandler& requestHandler, std::size_t greatestConnectionCount)
    : handler(requestHandler),
      greatestCount(greatestConnectionCount),
      refusal(refusal_text()) {}

Connections::~Connections() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::for_each(entries.begin(), entries.end(), end);
    }
    // No thread adds entries, so the list stays as it is.
    for (Entry& entry : entries) {
        entry.thread.join();
    }
}

void Connections::refuse(const Descriptor& socket) const noexcept {
    send(socket.get(), refusal.data(), refusal.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    shutdown(socket.get(), SHUT_WR);
}

void Connections::add(Descriptor socket) {
    removeEnded();
    if (!makeRoom()) {
        refuse(socket);
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    entries.emplace_back();
    Entry& entry = entries.back();
    entry.socket = std::move(socket);
    try {
        entry.thread = std::thread([this, &entry] { serve(entry); });
    } catch (const std::system_error&) {
        refuse(entry.socket);
        entries.pop_back();
    }
}

/// Whether there is room for another connection.
bool Connections::makeRoom() {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto count = static_cast<std::size_t>(std::count_if(
        entries.begin(), entries.end(), [](const Entry& entry) { return !entry.isEnding; }));
    if (count < greatestCount) {
        return entries.size() < 2 * greatestCount;
    }
    Entry* oldest = nullptr;
    for (Entry& entry : entries) {
        const bool canEnd = entry.state == ConnectionState::waiting && !entry.isEnding;
        if (canEnd && (oldest == nullptr || entry.since < oldest->since)) {
            oldest = &entry;
        }
    }
    if (oldest == nullptr || entries.size() >= 2 * greatestCount) {
        return false;
    }
    end(*oldest);
    return true;
}

void Connections::serve(Entry& entry) {
    const auto tellState = [this, &entry](ConnectionState state) { setState(entry, state); };
    try {
        Connection(entry.socket.get(), handler, tellState).serve();
    } catch (const std::exception&) {
        // Without memory for this client, the others are still served.
        shutdown(entry.socket.get(), SHUT_RDWR);
    }
    setState(entry, ConnectionState::waiting);
    const std::lock_guard<std::mutex> lock(mutex);
    entry.hasEnded = true;
    entry.isEnding = true;
}

void Connections::setState(Entry& entry, ConnectionState state) {
    const std::lock_guard<std::mutex> lock(mutex);
    entry.since = Clock::now();
    if (entry.state == ConnectionState::answering || state == ConnectionState::answering) {
        lastAnswer = entry.since;
    }
    entry.state = state;
}

void Connections::removeEnded() {
    std::list<Entry> ended;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (auto entry = entries.begin(); entry != entries.end();) {
            const auto next = std::next(entry);
            if (entry->hasEnded) {
                ended.splice(ended.end(), entries, entry);
            }
            entry = next;
        }
    }
    for (Entry& entry : ended) {
        entry.thread.join();
    }
}

Connections::Clock::time_point Connections::idleSince() const {
    const std::lock_guard<std::mutex> lock(mutex);
    const bool isAnswering = std::any_of(entries.begin(), entries.end(), [](const Entry& entry) {
        return entry.state == ConnectionState::answering;
    });
    return isAnswering ? Clock::now() : lastAnswer;
}

/// Makes its thread return as soon as it reads or writes.
void Connections::end(Entry& entry) noexcept {
    entry.isEnding = true;
    shutdown(entry.socket.get(), SHUT_RDWR);
}

} // namespace logging2::tools::view
