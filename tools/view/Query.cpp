#include <tools/view/Query.hpp>

#include <tools/view/HttpError.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestParameterCount = 512;

[[noreturn]] void refuse(const std::string& what) {
    throw HttpError(status::badRequest, what);
}

[[noreturn]] void refuse(const std::string& name, const std::string& what) {
    refuse("The parameter \"" + name + "\" " + what + '.');
}

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool is_printable(char c) {
    return c > ' ' && c < '\x7f';
}

char escaped_character(std::string_view text, std::size_t place) {
    const int high = place + 1 < text.size() ? hex_digit(text[place + 1]) : -1;
    const int low = place + 2 < text.size() ? hex_digit(text[place + 2]) : -1;
    if (high < 0 || low < 0) {
        refuse("The query has a % without two hexadecimal digits.");
    }
    const int value = high * 16 + low;
    if (value < ' ' || value == 0x7f) {
        refuse("The query has a control character.");
    }
    return static_cast<char>(value);
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (text[place] == '%') {
            result += escaped_character(text, place);
            place += 2;
        } else if (!is_printable(text[place])) {
            refuse("The query has a character that must be escaped.");
        } else {
            result += text[place] == '+' ? ' ' : text[place];
        }
    }
    return result;
}

std::size_t whole_number(const std::string& name, const std::string& value, std::size_t least,
                         std::size_t greatest) {
    std::size_t result = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), result);
    if (error != std::errc() || end != value.data() + value.size() || result < least ||
        result > greatest) {
        refuse(name, "is not a whole number from " + std::to_string(least) + " to " +
                         std::to_string(greatest));
    }
    return result;
}

std::size_t any_number(const std::string& name, const std::string& value) {
    return whole_number(name, value, 0, std::numeric_limits<std::size_t>::max());
}

} // namespace

Query::Query(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('&'), text.size());
        add(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void Query::add(std::string_view parameter) {
    const std::size_t sign = parameter.find('=');
    if (sign == std::string_view::npos || sign == 0) {
        refuse("The query has a part that is not NAME=VALUE.");
    }
    if (++parameterCount > greatestParameterCount) {
        refuse("The query has more than " + std::to_string(greatestParameterCount) +
               " parameters.");
    }
    parameters[unescaped(parameter.substr(0, sign))].push_back(
        unescaped(parameter.substr(sign + 1)));
}

void Query::allow(const std::vector<std::string>& names) const {
    for (const auto& [name, values] : parameters) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            refuse(name, "is not known here");
        }
    }
}

std::vector<std::string> Query::texts(const std::string& name, std::size_t greatestCount) const {
    const auto found = parameters.find(name);
    if (found == parameters.end()) {
        refuse(name, "is missing");
    }
    if (found->second.size() > greatestCount) {
        refuse(name, "is given more than " + std::to_string(greatestCount) + " times");
    }
    return found->second;
}

std::string Query::text(const std::string& name) const {
    const std::vector<std::string> values = texts(name, parameterCount);
    if (values.size() > 1) {
        refuse(name, "is given more than once");
    }
    return values.front();
}

double Query::number(const std::string& name) const {
    const std::string value = text(name);
    double result = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), result);
    if (error != std::errc() || end != value.data() + value.size() || !std::isfinite(result)) {
        refuse(name, "is not a finite number");
    }
    return result;
}

std::optional<double> Query::optionalNumber(const std::string& name) const {
    return has(name) ? std::optional(number(name)) : std::nullopt;
}

double Query::tolerance(const std::string& name, double standard) const {
    const double value = optionalNumber(name).value_or(standard);
    if (value < 0) {
        refuse(name, "is negative");
    }
    return value;
}

std::size_t Query::count(const std::string& name, std::size_t least, std::size_t greatest) const {
    return whole_number(name, text(name), least, greatest);
}

std::vector<std::size_t> Query::counts(const std::string& name, std::size_t greatestCount) const {
    std::vector<std::size_t> result;
    for (const std::string& value : texts(name, greatestCount)) {
        result.push_back(any_number(name, value));
    }
    return result;
}

std::vector<std::optional<std::size_t>> Query::countsOrAll(const std::string& name,
                                                           std::size_t greatestCount) const {
    std::vector<std::optional<std::size_t>> result;
    for (const std::string& value : texts(name, greatestCount)) {
        result.push_back(value == "all" ? std::nullopt : std::optional(any_number(name, value)));
    }
    return result;
}

} // namespace logging2::tools::view
