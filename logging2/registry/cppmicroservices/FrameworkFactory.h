#pragma once

#include <logging2/registry/export.hpp>

namespace cppmicroservices {
inline namespace logging2_registry {

class Framework;

/// Creates frameworks. The caller must keep the `Framework`, because it stops when its last handle
/// is destroyed.
class LOGGING2_REGISTRY_EXPORT FrameworkFactory {
public:
    /// Returns a new framework that is not started.
    Framework NewFramework();
};

} // namespace logging2_registry
} // namespace cppmicroservices
