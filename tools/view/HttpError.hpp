#pragma once

#include <stdexcept>
#include <string>

namespace logging2::tools::view {

/// The statuses that the server answers with.
namespace status {
constexpr int badRequest = 400;
constexpr int unauthorized = 401;
constexpr int forbidden = 403;
constexpr int notFound = 404;
constexpr int methodNotAllowed = 405;
constexpr int requestTimeout = 408;
constexpr int gone = 410;
constexpr int contentTooLarge = 413;
constexpr int uriTooLong = 414;
constexpr int unprocessable = 422;
constexpr int headersTooLarge = 431;
constexpr int internalError = 500;
constexpr int unavailable = 503;
constexpr int versionNotSupported = 505;
} // namespace status

/// A request that is answered with an error. The message is one plain sentence for the user.
class HttpError : public std::runtime_error {
public:
    HttpError(int httpStatus, const std::string& message)
        : std::runtime_error(message),
          number(httpStatus) {}

    int status() const noexcept { return number; }

private:
    int number;
};

} // namespace logging2::tools::view
