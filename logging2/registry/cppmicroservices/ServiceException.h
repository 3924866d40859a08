#pragma once

#include <logging2/export.hpp>

#include <stdexcept>
#include <string>

namespace cppmicroservices {

/// A service could not be registered, found or made.
class LOGGING2_EXPORT ServiceException : public std::runtime_error {
public:
    /// What went wrong; the values are those of CppMicroServices.
    enum Type {
        UNSPECIFIED = 0,
        UNREGISTERED = 1,
        /// The factory returned nothing.
        FACTORY_ERROR = 2,
        /// The factory threw.
        FACTORY_EXCEPTION = 3,
        REMOTE = 5,
        /// The factory asked for its own service while making it.
        FACTORY_RECURSION = 6
    };

    /// The message becomes `what()`, the type GetType().
    explicit ServiceException(const std::string& message, const Type& type = UNSPECIFIED);
    ServiceException(const ServiceException&) = default;
    ServiceException& operator=(const ServiceException&) = default;
    ~ServiceException() override;

    /// What went wrong.
    Type GetType() const;

private:
    Type type;
};

} // namespace cppmicroservices
