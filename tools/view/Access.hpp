#pragma once

#include <tools/view/messages.hpp>

#include <optional>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// Decides who may use the server. The address that the user got contains a random token; the first
/// request with it gets a cookie, which every other request needs.
class Access {
public:
    /// The port makes the cookie's name different from that of other servers on this machine. Host
    /// may name the machine itself or one of these names; Origin must be the same as Host.
    Access(int port, std::vector<std::string> hostNames);

    /// The path and the query of the address that the user gets.
    std::string firstTarget() const { return "/?token=" + token; }

    /// Throws HttpError if the request must not be answered: status 403 for another Host or
    /// Origin, 401 without the cookie. The reply, if there is one, hands over the cookie for the
    /// token.
    std::optional<Reply> check(const Request& request) const;

private:
    bool isOwnAuthority(const std::string& authority) const;
    bool hasCookie(const Request& request) const;
    std::optional<Reply> exchanged(const Request& request) const;

    std::vector<std::string> names;
    std::string cookieName;
    std::string token;
    std::string cookie;
};

/// Whether the texts are the same. The time depends only on their lengths.
bool is_same_secret(const std::string& a, const std::string& b) noexcept;

} // namespace logging2::tools::view
