#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceException.h>

namespace cppmicroservices {

ServiceException::ServiceException(const std::string& message, const Type& kind)
    : std::runtime_error(message),
      type(kind) {}

ServiceException::~ServiceException() = default;

ServiceException::Type ServiceException::GetType() const {
    return type;
}

IllegalStateException::IllegalStateException(const std::string& message)
    : std::runtime_error(message) {}

IllegalStateException::~IllegalStateException() = default;

} // namespace cppmicroservices
