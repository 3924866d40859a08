#include <logging2/stream/StreamWriter.hpp>

namespace logging2::core {

StreamWriter::~StreamWriter() = default;

} // namespace logging2::core
