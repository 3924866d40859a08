#pragma once

#include <logging2/registry/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// A service could not be registered or found.
class LOGGING2_REGISTRY_EXPORT ServiceException : public std::runtime_error {
public:
    /// The message becomes `what()`.
    explicit ServiceException(const std::string& message);
    ServiceException(const ServiceException&) = default;
    ServiceException& operator=(const ServiceException&) = default;
    ~ServiceException() override;
};

} // namespace logging2_registry
} // namespace cppmicroservices
