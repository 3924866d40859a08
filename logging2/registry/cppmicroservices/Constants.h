#pragma once

#include <logging2/registry/export.hpp>

#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Keys of properties that the registry itself reads.
namespace Constants {

/// The key of a service's ranking, which is an `int`. A service with a higher ranking is found
/// first. A missing ranking counts as 0.
LOGGING2_REGISTRY_EXPORT extern const std::string SERVICE_RANKING;

} // namespace Constants
} // namespace logging2_registry
} // namespace cppmicroservices
