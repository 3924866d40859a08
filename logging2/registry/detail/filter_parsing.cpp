#include "Filter.hpp"

#include <cctype>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {
namespace {

bool is_blank(char character) {
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

/// Reads the text from left to right. Grammar:
/// filter = "(" ( "&" filter+ | "|" filter+ | "!" filter | key operator value ) ")"
class FilterParser {
public:
    explicit FilterParser(std::string_view text) : rest(text) {}

    Filter parse() {
        Filter filter = parseFilter();
        // Intended: spaces may follow, but no other blanks.
        if (rest.find_first_not_of(' ') != std::string_view::npos) {
            fail("Trailing garbage '" + std::string(rest) + "'");
        }
        return filter;
    }

private:
    Filter parseFilter() {
        skipBlanks();
        if (peek() != '(') {
            fail("Malformed query");
        }
        take();
        skipBlanks();
        switch (peek()) {
        case '&':
            return parseCombination(Filter::Kind::allOf);
        case '|':
            return parseCombination(Filter::Kind::anyOf);
        case '!':
            return parseCombination(Filter::Kind::notOf);
        default:
            return parseComparison();
        }
    }

    Filter parseCombination(Filter::Kind kind) {
        take();
        Filter filter;
        filter.kind = kind;
        do {
            filter.parts.push_back(parseFilter());
            skipBlanks();
        } while (peek() != ')');
        take();
        if (kind == Filter::Kind::notOf && filter.parts.size() != 1) {
            fail("Malformed query");
        }
        return filter;
    }

    Filter parseComparison() {
        Filter filter;
        filter.key = parseKey();
        filter.op = parseOperator();
        filter.value = parseValue();
        return filter;
    }

    std::string parseKey() {
        std::size_t length = rest.find_first_of("=<>~()");
        if (length == std::string_view::npos) {
            failAtEnd();
        }
        const std::size_t next = length;
        while (length > 0 && is_blank(rest[length - 1])) {
            --length;
        }
        if (length == 0) {
            fail("Malformed query");
        }
        const std::string_view key = rest.substr(0, length);
        rest.remove_prefix(next);
        return std::string(key);
    }

    Filter::Operator parseOperator() {
        using Operator = Filter::Operator;
        static constexpr std::pair<std::string_view, Operator> operators[] = {
            {"=", Operator::equal},
            {"<=", Operator::atMost},
            {">=", Operator::atLeast},
            {"~=", Operator::approximately}};
        for (const auto& [token, op] : operators) {
            if (rest.substr(0, token.size()) == token) {
                rest.remove_prefix(token.size());
                return op;
            }
        }
        fail("Undefined operator");
    }

    /// Reads the value up to the parenthesis that closes the comparison. Balanced parentheses
    /// belong to the value.
    std::string parseValue() {
        std::string value;
        for (int depth = 0;;) {
            const char character = take();
            if (character == ')' && depth == 0) {
                return value;
            }
            if (character == '\\') {
                value += take();
                continue;
            }
            depth += character == '(' ? 1 : character == ')' ? -1 : 0;
            value += character == '*' ? wildcard : character;
        }
    }

    char peek() const {
        if (rest.empty()) {
            failAtEnd();
        }
        return rest.front();
    }

    char take() {
        const char character = peek();
        rest.remove_prefix(1);
        return character;
    }

    void skipBlanks() {
        while (!rest.empty() && is_blank(rest.front())) {
            rest.remove_prefix(1);
        }
    }

    [[noreturn]] void fail(const std::string& problem) const {
        throw std::invalid_argument(problem + ": " + std::string(rest));
    }

    [[noreturn]] static void failAtEnd() {
        throw std::invalid_argument("Unexpected end of query: ");
    }

    std::string_view rest;
};

} // namespace

Filter parse_filter(const std::string& text) {
    return FilterParser(text).parse();
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
