#pragma once

#include <cstddef>

namespace logging2::core::bench {

/// Touches and frees so much memory in a child process, so that the next measurement finds memory
/// that this machine owns. The peak of the calling process does not grow.
///
/// A virtual machine may have given free memory back to its host. The first access to a block that
/// it must get again takes ten times as long as usual. Throws std::runtime_error if there is not
/// enough memory.
void warm_memory(std::size_t byteCount);

} // namespace logging2::core::bench
