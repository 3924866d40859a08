#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace logging2::tools::view {

/// What a client asks for.
struct Request {
    std::string method;
    std::string target; ///< path and query, as they were sent
    /// By their names in lower case. A name that was sent twice has both values, joined by ", ".
    std::map<std::string, std::string> headers;

    /// The value of a header, empty if it was not sent.
    std::string header(const std::string& name) const {
        const auto found = headers.find(name);
        return found == headers.end() ? std::string() : found->second;
    }
};

/// Where a body of unknown length goes, piece by piece. It returns false when the client is gone.
using Sink = std::function<bool(std::string_view)>;

/// What the client gets.
struct Reply {
    int status = 200;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    /// Writes the next piece of a body of unknown length, instead of `body`; false after the last.
    std::function<bool(const Sink&)> next;
    /// Whether the body never ends by itself, so that it does not keep the server from being idle.
    bool isEndless = false;
};

} // namespace logging2::tools::view
