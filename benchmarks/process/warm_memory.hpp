#pragma once

#include <cstddef>

namespace logging2::core::bench {

/// Touches that much memory in a child process and frees it, so that what is measured next finds
/// memory that this machine owns, and the caller's peak does not grow. A virtual machine may have
/// given free memory back to its host, and the first touch of a block that it must get again costs
/// ten times the usual. Throws std::runtime_error if there is not so much memory.
void warm_memory(std::size_t byteCount);

} // namespace logging2::core::bench
