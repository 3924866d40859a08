#include <cppmicroservices/Constants.h>

namespace cppmicroservices::Constants {

const std::string SERVICE_RANKING = "service.ranking";
const std::string SERVICE_ID = "service.id";
const std::string SERVICE_SCOPE = "service.scope";
const std::string OBJECTCLASS = "objectclass";

} // namespace cppmicroservices::Constants
