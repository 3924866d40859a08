#pragma once

#include <stdexcept>
#include <string>

namespace logging2::tools::view {

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
