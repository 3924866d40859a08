#pragma once

#include <tests/soak/soaks.hpp>

#include <filesystem>

namespace logging2::core::test {

/// Reads a times file and a values file in blocks and counts their rows as right or wrong. Rows are
/// right if whole batches of batchRowCount rows follow each other in order; the last batch may be
/// incomplete. Missing batches are not detected.
void count_rows(const std::filesystem::path& times, const std::filesystem::path& values,
                std::size_t batchRowCount, Findings& findings);

} // namespace logging2::core::test
