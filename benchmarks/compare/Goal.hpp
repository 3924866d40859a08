#pragma once

#include <benchmarks/compare/Question.hpp>
#include <benchmarks/compare/Results.hpp>

#include <optional>
#include <string>
#include <vector>

namespace logging2::core::bench {

enum class Measure { time, peakMemory };

enum class Bound {
    atMost, ///< the subject takes no more than so many times what the reference takes
    atLeast ///< the reference takes at least so many times what the subject takes
};

/// What the library promises: how its own contender stands beside others on some workloads.
struct Goal {
    std::string line; ///< what of the library, such as "MemoryStreamWriter, write"
    Bound bound;
    double limit;
    std::string referenceTitle;
    Entry subject;
    std::vector<Entry> references; ///< the best of them counts
    std::vector<std::string> workloads;
    Measure measure = Measure::time;

    /// Such as "at most 1.05 × bare data model" or "at least 2 times as fast as CSV".
    std::string text() const;
};

const std::vector<Goal>& all_goals();

/// What was reached on one workload.
struct Reached {
    std::string workload;
    std::optional<double> ratio; ///< nothing where a run of either failed
    bool lostRows = false;       ///< of the subject, which then holds no goal
    bool isHeld = false;
};

struct Outcome {
    Goal goal;
    std::vector<Reached> reached; ///< on the workloads that were run

    bool isHeld() const;
};

/// One outcome per goal of which at least one workload was run.
std::vector<Outcome> outcomes_of(const std::vector<Goal>& goals, const Results& results);

} // namespace logging2::core::bench
