#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace logging2::tools {

/// Reads a whole number with a unit: "90s", "30m" (minutes), "12h", "7d" or "2w". Empty if the text
/// is none, or longer than a hundred years.
std::optional<std::chrono::seconds> parse_duration(std::string_view text);

} // namespace logging2::tools
