#pragma once

#include <cppmicroservices/ServiceProperties.h>

#include <map>
#include <string>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

bool equal_ignoring_case(const std::string& left, const std::string& right);

/// The properties of a service at one moment. They never change. Look-ups ignore the case of keys.
class Properties {
public:
    /// Merges the properties. Those that the registry sets (fixed) replace given ones. Throws
    /// `std::runtime_error` if two given keys differ in case only, and `std::invalid_argument` if
    /// the ranking is not an `int`.
    Properties(const ServiceProperties& given, const ServiceProperties& fixed);

    /// Returns the value of the key, or null if there is none.
    const Any* find(const std::string& key) const;

    int ranking() const { return rank; }

private:
    struct LessIgnoringCase {
        bool operator()(const std::string& left, const std::string& right) const;
    };

    std::map<std::string, Any, LessIgnoringCase> values;
    int rank = 0;
};

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
