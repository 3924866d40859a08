#pragma once

#include <cppmicroservices/Any.h>

#include <string>
#include <unordered_map>

namespace cppmicroservices {
inline namespace logging2_registry {

/// The properties with which a service is registered. Two keys that differ in case only are
/// refused.
///
/// Filters understand values of type `std::string`, `const char *`, `char`, `bool`, the integer
/// and floating-point types, `std::vector` and `std::list` of `std::string`, and
/// `std::vector<Any>` of these.
using ServiceProperties = std::unordered_map<std::string, Any>;

} // namespace logging2_registry
} // namespace cppmicroservices
