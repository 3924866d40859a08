#pragma once

#include <tools/Descriptor.hpp>
#include <tools/view/Connection.hpp>
#include <tools/view/RequestHandler.hpp>

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace logging2::tools::view {

/// All connections of the server, each with a thread of its own. Their number is limited. If there
/// are too many, a new one takes the place of the one that has waited longest for a request; if all
/// are being answered, the new one gets status 503.
class Connections {
public:
    using Clock = std::chrono::steady_clock;

    /// The handler must outlive the object.
    Connections(RequestHandler& requestHandler, std::size_t greatestConnectionCount);

    /// Ends all connections, also those that are being answered.
    ~Connections();

    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    /// Takes over a connected socket.
    void add(Descriptor socket);

    /// Cleans up after connections that have ended.
    void removeEnded();

    /// Since when no request was answered, apart from those whose answers never end.
    Clock::time_point idleSince() const;

private:
    struct Entry {
        Descriptor socket;
        std::thread thread;
        ConnectionState state = ConnectionState::waiting;
        Clock::time_point since = Clock::now(); ///< it has this state
        bool isEnding = false;
        bool hasEnded = false;
    };

    void refuse(const Descriptor& socket) const noexcept;
    bool makeRoom();
    void serve(Entry& entry);
    void setState(Entry& entry, ConnectionState state);
    static void end(Entry& entry) noexcept;

    RequestHandler& handler;
    const std::size_t greatestCount;
    const std::string refusal; ///< the answer if there is no room
    mutable std::mutex mutex;
    std::list<Entry> entries;                    ///< guarded by the mutex
    Clock::time_point lastAnswer = Clock::now(); ///< guarded by the mutex
};

} // namespace logging2::tools::view
