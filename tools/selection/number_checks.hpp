#pragma once

#include <CLI/CLI.hpp>

namespace logging2::tools {

/// Refuses a text that is not a finite number of at least 0.
CLI::Validator at_least_zero();

/// Refuses a text that is not a whole number of at least 1.
CLI::Validator at_least_one();

/// Refuses a text that is not a number from the least to the greatest.
CLI::Validator between(double least, double greatest);

} // namespace logging2::tools
