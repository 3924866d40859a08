#include <logging2/stream/StreamWriterService.hpp>

namespace logging2::core {

StreamWriterService::~StreamWriterService() = default;

} // namespace logging2::core
