#pragma once

#include <array>
#include <cstdint>

namespace logging2::core {

/// An extra description of a writer's data stores: three words whose meaning the back-end defines.
/// No built-in writer returns one.
struct DataStoreInfo {
    /// The three words of the back-end. Each word is 0 unless the back-end sets it.
    std::array<std::uintptr_t, 3> words{};
};

} // namespace logging2::core
