#pragma once

#include <logging2/host/lang/ValuePath.hpp>

#include <string>
#include <vector>

namespace logging2::core::detail {

/// Returns the text between double quotes.
std::string in_quotes(const std::string& text);
std::string in_quotes(const lang::core::ValuePath& path);

/// Returns, for example, "there are no groups", "the only group is 0" or "the groups are 0, 1 and
/// 2". If there are more than nine items, it lists the first eight and the number of the others.
std::string listing(const std::string& noun, const std::vector<std::string>& items);

} // namespace logging2::core::detail
