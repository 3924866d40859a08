#pragma once

#include <logging2/export.hpp>

#include <string>

/// Keys of the properties that the registry itself reads or sets on every service.
namespace cppmicroservices::Constants {

/// An `int` given by whoever registers; higher comes first, absent counts as 0.
LOGGING2_EXPORT extern const std::string SERVICE_RANKING;
/// A `long` set by the registry: 1 for the first service registered, and so on.
LOGGING2_EXPORT extern const std::string SERVICE_ID;
/// A `std::string` set by the registry: "bundle" for a factory, "singleton" otherwise.
LOGGING2_EXPORT extern const std::string SERVICE_SCOPE;
/// A `std::vector<std::string>` set by the registry: the interface identifiers.
LOGGING2_EXPORT extern const std::string OBJECTCLASS;

} // namespace cppmicroservices::Constants
