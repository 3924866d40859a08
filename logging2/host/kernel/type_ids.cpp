#include <logging2/host/kernel/type_ids.hpp>

namespace logging2::core {

std::string vtllogging_write_type_id() {
    return "vtllogging.write.type";
}

std::string vtllogging_read_type_id() {
    return "vtllogging.read.type";
}

} // namespace logging2::core
