#pragma once

#include <cppmicroservices/Any.h>

#include <list>
#include <string>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

/// Calls `visitor` with the held value if it has one of the types. Returns whether it has.
template <typename... Values, typename Visitor>
bool visit_if_one_of(const Any& any, Visitor&& visitor) {
    const auto visitIf = [&visitor](const auto* value) {
        if (value != nullptr) {
            visitor(*value);
        }
        return value != nullptr;
    };
    return (visitIf(any_cast<Values>(&any)) || ...);
}

/// Calls `visitor` with the held value if it has one of the types that a service property may have.
/// Returns whether it has.
template <typename Visitor>
bool visit_property(const Any& any, Visitor&& visitor) {
    return visit_if_one_of<std::string, const char*, char, bool, signed char, unsigned char, short,
                           unsigned short, int, unsigned int, long, unsigned long, long long,
                           unsigned long long, float, double, std::vector<std::string>,
                           std::list<std::string>, std::vector<Any>>(any, visitor);
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
