#pragma once

#include <logging2/registry/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Thrown by calls on a bundle context that is not valid.
class LOGGING2_REGISTRY_EXPORT IllegalStateException final : public std::runtime_error {
public:
    /// Makes an exception whose `what()` is the message.
    explicit IllegalStateException(const std::string& message);
    IllegalStateException(const IllegalStateException&) = default;
    IllegalStateException& operator=(const IllegalStateException&) = default;
    ~IllegalStateException() override;
};

} // namespace logging2_registry
} // namespace cppmicroservices
