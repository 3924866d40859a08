#pragma once

#include <tests/soak/soaks.hpp>

#include <filesystem>

namespace logging2::core::test {

/// Reads a times file and a values file in blocks and counts their rows as right or wrong. They are
/// right where whole batches of so many rows follow each other in order, with the last one cut
/// short at the end of the run; whether batches are missing is not looked at.
void count_rows(const std::filesystem::path& times, const std::filesystem::path& values,
                std::size_t batchRowCount, Findings& findings);

} // namespace logging2::core::test
