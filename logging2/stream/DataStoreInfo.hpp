#pragma once

#include <array>
#include <cstdint>

namespace logging2::core {

/// An extra description of a writer's data stores: three words whose meaning belongs to the
/// back-end that fills them. No built-in writer does.
struct DataStoreInfo {
    /// The back-end's own; zeros unless it fills them.
    std::array<std::uintptr_t, 3> words{};
};

} // namespace logging2::core
