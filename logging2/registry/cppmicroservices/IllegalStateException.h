#pragma once

#include <logging2/registry/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Thrown by every call on a bundle context that is not, or no longer, valid.
class LOGGING2_REGISTRY_EXPORT IllegalStateException final : public std::runtime_error {
public:
    /// The message becomes `what()`.
    explicit IllegalStateException(const std::string& message);
    IllegalStateException(const IllegalStateException&) = default;
    IllegalStateException& operator=(const IllegalStateException&) = default;
    ~IllegalStateException() override;
};

} // namespace logging2_registry
} // namespace cppmicroservices
