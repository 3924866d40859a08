#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::core::bench {

/// The part of a contender's work that counts.
enum class Phase { run, finish, both };

/// One bar of a picture: a contender, what it is called there, and what of it counts.
struct Entry {
    std::string contender;
    std::string title;
    Phase phase = Phase::both;
};

/// How the results of a question are laid out.
enum class Layout {
    bars,  ///< a table and a panel per workload, a line and a bar per contender
    growth ///< one table and one picture over all workloads
};

/// What a time is divided by.
enum class Unit { row, value };

/// What is asked: the same workloads for several contenders, of which the first is the library's.
struct Question {
    std::string id;
    std::string title;
    std::vector<std::string> workloads;
    std::vector<Entry> entries;
    std::string floor; ///< the contender that is drawn as a line; empty for none
    Layout layout = Layout::bars;
    Unit unit = Unit::row;
    std::size_t mostRepetitions = 100;
};

const std::vector<Question>& all_questions();

/// What changes from one workload of a growth to the next: the number of rows, or of channels where
/// times are per value. Steps are multiplied by the scale.
std::size_t changing_size(const Question& question, const std::string& workload, double scale);

} // namespace logging2::core::bench
