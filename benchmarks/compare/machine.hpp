#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::bench {

/// What the numbers were measured on and with, as name and value.
std::vector<std::pair<std::string, std::string>>
machine_facts(const std::filesystem::path& directory);

} // namespace logging2::core::bench
