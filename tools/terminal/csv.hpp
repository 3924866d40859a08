#pragma once

#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {

/// A line of comma-separated values as in RFC 4180, but with a plain line feed at its end. Texts
/// are quoted where it is needed.
std::string csv_line(const std::vector<std::string>& cells);

/// Numbers are the shortest text that restores them: "nan", "inf" and "-inf" if they are not
/// finite. A missing one is an empty cell.
std::string csv_line(const std::vector<std::optional<double>>& cells);

} // namespace logging2::tools
