#include <logging2/stream/StreamReader.hpp>

namespace logging2::core {

StreamReader::~StreamReader() = default;

} // namespace logging2::core
