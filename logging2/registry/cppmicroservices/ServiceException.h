#pragma once

#include <logging2/registry/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Thrown if a service cannot be registered or found.
class LOGGING2_REGISTRY_EXPORT ServiceException : public std::runtime_error {
public:
    /// Makes an exception whose `what()` is the message.
    explicit ServiceException(const std::string& message);
    ServiceException(const ServiceException&) = default;
    ServiceException& operator=(const ServiceException&) = default;
    ~ServiceException() override;
};

} // namespace logging2_registry
} // namespace cppmicroservices
