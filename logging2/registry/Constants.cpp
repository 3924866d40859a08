#include <cppmicroservices/Constants.h>

namespace cppmicroservices {

const std::string Constants::SERVICE_RANKING = "service.ranking";

} // namespace cppmicroservices
