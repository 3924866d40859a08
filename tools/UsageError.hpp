#pragma once

#include <stdexcept>

namespace logging2::tools {

/// The user's input cannot be obeyed; the message says why, in one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace logging2::tools
