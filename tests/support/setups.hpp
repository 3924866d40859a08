#pragma once

#include <logging2/conformance/detail/setups.hpp>
#include <logging2/logging2.hpp>

namespace logging2::core::test {

/// The store of a memory writer for the path.
inline MemoryDatastore memoryStore(const StreamWriter& writer, const char* path) {
    return boost::any_cast<MemoryDatastore>(writer.dataStore(ValuePath(path)));
}

} // namespace logging2::core::test
