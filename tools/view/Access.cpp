#include <tools/view/Access.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/lower_case.hpp>
#include <tools/view/small_pages.hpp>

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <system_error>

namespace logging2::tools::view {
namespace {

constexpr std::size_t secretByteCount = 24;

std::string random_secret() {
    std::array<unsigned char, secretByteCount> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::system_error(errno, std::generic_category(), "no random number");
    }
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

/// Whether it is empty, or a colon and a number that can be a port.
bool is_port(const std::string& text) {
    constexpr std::size_t longest = 6;
    return text.empty() || (text.size() > 1 && text.size() <= longest && text[0] == ':' &&
                            std::all_of(text.begin() + 1, text.end(),
                                        [](unsigned char c) { return std::isdigit(c) != 0; }));
}

/// Another page in the same browser must not use the server, not even one of this machine.
void check_origin(const Request& request) {
    const bool hasOrigin = request.headers.count("origin") != 0;
    if (hasOrigin &&
        lower_case(request.header("origin")) != "http://" + lower_case(request.header("host"))) {
        throw HttpError(status::forbidden, "Pages of another origin must not use the server.");
    }
    const std::string site = request.header("sec-fetch-site");
    const bool isNavigation = request.header("sec-fetch-mode") == "navigate";
    if (!isNavigation && (site == "cross-site" || site == "same-site")) {
        throw HttpError(status::forbidden, "Pages of another site must not use the server.");
    }
}

} // namespace

bool is_same_secret(const std::string& a, const std::string& b) noexcept {
    unsigned difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t k = 0; k < std::min(a.size(), b.size()); ++k) {
        difference |= static_cast<unsigned char>(a[k]) ^ static_cast<unsigned char>(b[k]);
    }
    return difference == 0;
}

Access::Access(int port, std::vector<std::string> hostNames)
    : names(std::move(hostNames)),
      cookieName("logging2-" + std::to_string(port)),
      token(random_secret()),
      cookie(random_secret()) {
    std::transform(names.begin(), names.end(), names.begin(), lower_case);
    names.insert(names.end(), {"127.0.0.1", "localhost", "[::1]"});
}

std::optional<Reply> Access::check(const Request& request) const {
    if (!isOwnAuthority(request.header("host"))) {
        throw HttpError(status::forbidden,
                        "The server does not go by this name; --allow-host adds one.");
    }
    check_origin(request);
    if (std::optional<Reply> reply = exchanged(request)) {
        return reply;
    }
    if (!hasCookie(request)) {
        throw HttpError(status::unauthorized, "Open the address that logging2 view has printed.");
    }
    return std::nullopt;
}

/// NAME or NAME:PORT. Any port will do: a tunnel may use another one at its other end.
bool Access::isOwnAuthority(const std::string& authority) const {
    const std::string text = lower_case(authority);
    return std::any_of(names.begin(), names.end(), [&text](const std::string& name) {
        return text.compare(0, name.size(), name) == 0 && is_port(text.substr(name.size()));
    });
}

std::optional<Reply> Access::exchanged(const Request& request) const {
    constexpr const char* start = "/?token=";
    if (request.target.rfind(start, 0) != 0) {
        return std::nullopt;
    }
    if (!is_same_secret(request.target.substr(std::string(start).size()), token)) {
        throw HttpError(status::unauthorized,
                        "The token is that of another server; open the address that "
                        "logging2 view has printed.");
    }
    // No redirection: the browser would not send the cookie with a request that another
    // application has caused, but it does with one that this page causes.
    return Reply{
        200,
        "text/html; charset=utf-8",
        entrance_page(),
        {{"Set-Cookie", cookieName + '=' + cookie + "; HttpOnly; SameSite=Strict; Path=/"}},
        {}};
}

bool Access::hasCookie(const Request& request) const {
    const std::string sent = "; " + request.header("cookie") + ';';
    const std::string start = "; " + cookieName + '=';
    const std::size_t place = sent.find(start);
    if (place == std::string::npos) {
        return false;
    }
    const std::size_t first = place + start.size();
    return is_same_secret(sent.substr(first, sent.find(';', first) - first), cookie);
}

} // namespace logging2::tools::view
