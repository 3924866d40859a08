#include <logging2/stream/StreamReaderService.hpp>

namespace logging2::core {

StreamReaderService::~StreamReaderService() = default;

} // namespace logging2::core
