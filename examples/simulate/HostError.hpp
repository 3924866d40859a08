#pragma once

#include <stdexcept>

namespace simulate {

/// A failure that the user can understand and mend: its text is one whole line for standard error.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace simulate
