#pragma once

#include "Properties.hpp"

#include <string>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

/// Stands for `*` in the value of a comparison. Intended: if a filter contains this character
/// itself, it also acts as a wildcard.
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

/// Returns the parsed filter. Throws `std::invalid_argument` if the text is not a filter.
Filter parse_filter(const std::string& text);

bool matches(const Filter& filter, const Properties& properties);

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
