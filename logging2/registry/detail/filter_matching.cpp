#include "Filter.hpp"
#include "any_visit.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <type_traits>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {
namespace {

bool matches_wildcards(const std::string& text, const std::string& pattern) {
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t afterWildcard = std::string::npos;
    std::size_t resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == wildcard) {
            afterWildcard = ++p;
            resume = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (afterWildcard != std::string::npos) {
            p = afterWildcard;
            t = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(wildcard, p) == std::string::npos;
}

std::string without_blanks(std::string text) {
    const auto isBlank = [](unsigned char character) { return std::isspace(character) != 0; };
    text.erase(std::remove_if(text.begin(), text.end(), isBlank), text.end());
    return text;
}

template <typename Value>
bool compare(const Value& actual, Filter::Operator op, const Value& wanted) {
    switch (op) {
    case Filter::Operator::atMost:
        return actual <= wanted;
    case Filter::Operator::atLeast:
        return actual >= wanted;
    default:
        return actual == wanted;
    }
}

/// Compares the value of a property, whatever its type, with the text of a filter.
class Comparison {
public:
    explicit Comparison(const Filter& comparison) : op(comparison.op), wanted(comparison.value) {}

    bool holdsFor(const Any& actual) const {
        if (op == Filter::Operator::equal && wanted == std::string(1, wildcard)) {
            return !actual.Empty();
        }
        bool result = false;
        visit_property(actual, [&](const auto& value) { result = holds(value); });
        return result;
    }

private:
    bool holds(const std::string& actual) const {
        if (op == Filter::Operator::equal) {
            return matches_wildcards(actual, wanted);
        }
        if (op == Filter::Operator::approximately) {
            return equal_ignoring_case(without_blanks(actual), without_blanks(wanted));
        }
        return compare(actual, op, wanted);
    }

    bool holds(const char* actual) const { return holds(std::string(actual)); }
    bool holds(char actual) const { return holds(std::string(1, actual)); }

    /// Intended: the wanted text may be any abbreviation of "true" or "false", even the empty one.
    bool holds(bool actual) const {
        const std::string name = actual ? "true" : "false";
        const bool comparable =
            op == Filter::Operator::equal || op == Filter::Operator::approximately;
        return comparable && equal_ignoring_case(name.substr(0, wanted.size()), wanted);
    }

    /// Intended: only the beginning of the wanted text must be a number.
    template <typename Number>
    std::enable_if_t<std::is_arithmetic_v<Number>, bool> holds(Number actual) const {
        char* end = nullptr;
        if constexpr (std::is_floating_point_v<Number>) {
            const auto number = static_cast<Number>(std::strtod(wanted.c_str(), &end));
            return end != wanted.c_str() && compare(actual, op, number);
        } else {
            using Wide =
                std::conditional_t<std::is_signed_v<Number>, long long, unsigned long long>;
            const auto number = static_cast<Wide>(std::strtoll(wanted.c_str(), &end, 10));
            return end != wanted.c_str() && compare(static_cast<Wide>(actual), op, number);
        }
    }

    bool holds(const std::vector<Any>& actual) const {
        return std::any_of(actual.begin(), actual.end(),
                           [this](const Any& element) { return holdsFor(element); });
    }
    bool holds(const std::vector<std::string>& actual) const { return holdsForAny(actual); }
    bool holds(const std::list<std::string>& actual) const { return holdsForAny(actual); }

    template <typename Texts>
    bool holdsForAny(const Texts& actual) const {
        return std::any_of(actual.begin(), actual.end(),
                           [this](const std::string& element) { return holds(element); });
    }

    Filter::Operator op;
    const std::string& wanted;
};

} // namespace

bool matches(const Filter& filter, const Properties& properties) {
    const auto partMatches = [&](const Filter& part) { return matches(part, properties); };
    switch (filter.kind) {
    case Filter::Kind::allOf:
        return std::all_of(filter.parts.begin(), filter.parts.end(), partMatches);
    case Filter::Kind::anyOf:
        return std::any_of(filter.parts.begin(), filter.parts.end(), partMatches);
    case Filter::Kind::notOf:
        return !partMatches(filter.parts.front());
    default:
        const Any* value = properties.find(filter.key);
        return value != nullptr && Comparison(filter).holdsFor(*value);
    }
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
