#pragma once

#include <logging2/registry/export.hpp>

#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Keys of properties that the registry itself reads.
namespace Constants {

/// An `int` given by whoever registers; higher comes first, absent counts as 0.
LOGGING2_REGISTRY_EXPORT extern const std::string SERVICE_RANKING;

} // namespace Constants
} // namespace logging2_registry
} // namespace cppmicroservices
