#pragma once

#include <benchmarks/compare/Goal.hpp>
#include <benchmarks/compare/Question.hpp>
#include <benchmarks/compare/Results.hpp>

#include <string>
#include <utility>
#include <vector>

namespace logging2::core::bench {

/// Everything that a report is made of.
struct Report {
    std::vector<std::pair<std::string, std::string>> facts;
    std::vector<Question> questions;
    Results results;
    std::vector<Outcome> outcomes;
    double scale = 1;
};

/// Tables, for people.
std::string markdown_of(const Report& report);

/// Every single run, for programs.
std::string json_of(const Report& report);

/// A gnuplot script that draws one question into `<id>.svg`.
std::string picture_script(const Report& report, const Question& question);

} // namespace logging2::core::bench
