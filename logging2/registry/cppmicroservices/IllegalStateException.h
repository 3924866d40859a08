#pragma once

#include <logging2/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {

/// Thrown by every call on a bundle context that is not, or no longer, valid.
class LOGGING2_EXPORT IllegalStateException final : public std::runtime_error {
public:
    /// The message becomes `what()`.
    explicit IllegalStateException(const std::string& message);
    IllegalStateException(const IllegalStateException&) = default;
    IllegalStateException& operator=(const IllegalStateException&) = default;
    ~IllegalStateException() override;
};

} // namespace cppmicroservices
