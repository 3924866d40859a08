#pragma once

#include <tools/terminal/Terminal.hpp>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>

namespace logging2::tools {

/// Members keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// The number of the layout of what --json prints. It grows if a member changes its meaning or
/// goes.
constexpr int jsonSchema = 1;

/// A number; "NaN", "Infinity" or "-Infinity" as a text, because JSON has no such numbers.
Json json_number(double value);

/// As above, or null.
Json json_or_null(const std::optional<double>& value);

/// A count, or null.
Json json_or_null(const std::optional<std::size_t>& value);

/// Prints the value with line breaks. Bytes of names that are not UTF-8 are replaced.
void print_json(const Terminal& terminal, const Json& value);

} // namespace logging2::tools
