#pragma once

#include <benchmarks/compare/Question.hpp>
#include <benchmarks/compare/Results.hpp>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace logging2::core::bench {

struct PlanOptions {
    std::filesystem::path program;   ///< runs one contender
    std::filesystem::path directory; ///< where the files go
    double scale = 1;
    std::size_t repetitions = 5;
};

/// Runs every contender of the questions on every workload of theirs, each pair once per
/// repetition, the whole list before any pair comes again; each repetition starts at another place
/// of the list. Tells on standard error how far it is.
Results run_all(const std::vector<Question>& questions, const PlanOptions& options);

} // namespace logging2::core::bench
