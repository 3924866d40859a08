#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceException.h>

namespace cppmicroservices {

ServiceException::ServiceException(const std::string& message) : std::runtime_error(message) {}

ServiceException::~ServiceException() = default;

IllegalStateException::IllegalStateException(const std::string& message)
    : std::runtime_error(message) {}

IllegalStateException::~IllegalStateException() = default;

} // namespace cppmicroservices
