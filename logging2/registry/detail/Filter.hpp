#pragma once

#include "Properties.hpp"

#include <string>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

/// Stands for `*` in the value of a comparison. Intended: a text that holds this character itself
/// gets the wildcard, too.
constexpr char wildcard = '\x7f';

/// A parsed filter: either a comparison or a combination of parts.
struct Filter {
    enum class Kind { allOf, anyOf, notOf, comparison };
    enum class Operator { equal, atMost, atLeast, approximately };

    Kind kind = Kind::comparison;

    std::vector<Filter> parts;

    std::string key;
    Operator op = Operator::equal;
    std::string value;
};

/// Throws `std::invalid_argument` for a text that is no filter.
Filter parse_filter(const std::string& text);

bool matches(const Filter& filter, const Properties& properties);

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
