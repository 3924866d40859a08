#include <tools/terminal/json.hpp>

#include <cmath>

namespace logging2::tools {

Json json_number(double value) {
    if (std::isfinite(value)) {
        return value;
    }
    if (std::isnan(value)) {
        return "NaN";
    }
    return value > 0 ? "Infinity" : "-Infinity";
}

Json json_or_null(const std::optional<double>& value) {
    return value ? json_number(*value) : Json();
}

Json json_or_null(const std::optional<std::size_t>& value) {
    return value ? Json(*value) : Json();
}

void print_json(const Terminal& terminal, const Json& value) {
    terminal.out << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace logging2::tools
