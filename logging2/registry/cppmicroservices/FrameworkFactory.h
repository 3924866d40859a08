#pragma once

#include <logging2/registry/export.hpp>

namespace cppmicroservices {
inline namespace logging2_registry {

class Framework;

/// Makes frameworks. The caller must keep the `Framework`, or it stops.
class LOGGING2_REGISTRY_EXPORT FrameworkFactory {
public:
    /// A framework that is not started.
    Framework NewFramework();
};

} // namespace logging2_registry
} // namespace cppmicroservices
