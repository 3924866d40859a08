#include <benchmarks/compare/Goal.hpp>

#include <fmt/format.h>

#include <algorithm>

namespace logging2::core::bench {
namespace {

using Names = std::vector<std::string>;

std::vector<Goal> memory_goals() {
    const Entry write{"memory-writer", "", Phase::run};
    const Entry flush{"memory-writer", "", Phase::finish};
    const Entry ringWrite{"restricted-writer", "", Phase::run};
    const Entry bareWrite{"bare-model", "", Phase::run};
    const Entry bareFlush{"bare-model", "", Phase::finish};
    const std::string model = "bare data model";
    const std::string pass = "straightforward pass";
    const std::string memory = "MemoryStreamWriter";
    const Names fixed{"W1", "W2", "W3", "W4", "W5"};
    return {
        {memory + ", write", Bound::atMost, 1.05, model, write, {bareWrite}, fixed},
        {memory + ", flush", Bound::atMost, 0.85, pass, flush, {bareFlush}, {"W1", "W2"}},
        {memory + ", flush", Bound::atMost, 0.6, pass, flush, {bareFlush}, {"W3"}},
        // The pass makes its columns before it frees the first row.
        {memory + ", peak memory",
         Bound::atMost,
         1.01,
         model + " and the columns",
         flush,
         {bareFlush},
         fixed,
         Measure::peakMemory},
        {"MemoryStreamRestrictedWriter, write, rings full",
         Bound::atMost,
         0.7,
         memory,
         ringWrite,
         {write},
         {"W1"}},
    };
}

std::vector<Goal> file_goals() {
    const std::string total = "NativeStreamWriter, total";
    const Entry native{"native-writer", ""};
    const Entry nativeWrite{"native-writer", "", Phase::run};
    const Entry flatVector{"flat-vector", "", Phase::run};
    const Names all{"W1", "W2", "W3", "W4", "W5", "WR"};
    const Names belowThreshold{"8x900000", "100x80000", "W3", "1x4000000", "1000x8000"};
    return {
        {total,
         Bound::atMost,
         0.7,
         "straightforward rows to files",
         native,
         {{"straightforward-files", ""}},
         {"W1", "W2", "W3", "W4"}},
        {total,
         Bound::atMost,
         5,
         "write(2), columns ready",
         native,
         {{"raw-write", ""}},
         {"W1", "W2", "W3"}},
        {total, Bound::atMost, 1, "fwrite per row", native, {{"fwrite", ""}}, {"W1", "W4"}},
        {total, Bound::atLeast, 2, "SQLite", native, {{"sqlite", ""}}, all},
        {total, Bound::atLeast, 2, "CSV", native, {{"csv", ""}}, all},
        {total,
         Bound::atLeast,
         10,
         "HDF5 packet table, row by row",
         native,
         {{"hdf5-packets-rows", ""}},
         {"W1", "W3", "W4"}},
        {"NativeStreamWriter, write, no buffer full",
         Bound::atMost,
         1.1,
         "flat std::vector",
         nativeWrite,
         {flatVector},
         belowThreshold},
    };
}

std::vector<Goal> reading_goals() {
    return {{"NativeStreamReader::timeseries()",
             Bound::atMost,
             1.15,
             "the fastest way to fill a fresh std::vector",
             {"native-reader", "", Phase::run},
             {{"stream-vector", "", Phase::run},
              {"read-vector", "", Phase::run},
              {"mapping-vector", "", Phase::run}},
             {"1x67108864"}}};
}

/// Nothing where no run was verified.
std::optional<double> measured(const Results& results, const Entry& entry,
                               const std::string& workload, Measure measure) {
    const Summary summary = summary_of(results, entry, workload, Unit::row);
    if (summary.verifiedCount == 0) {
        return std::nullopt;
    }
    return measure == Measure::time ? summary.time.median : static_cast<double>(summary.peakKib);
}

std::optional<double> least_measured(const Results& results, const Goal& goal,
                                     const std::string& workload) {
    std::optional<double> least;
    for (const Entry& entry : goal.references) {
        const auto value = measured(results, entry, workload, goal.measure);
        if (value && (!least || *value < *least)) {
            least = value;
        }
    }
    return least;
}

Reached reached_on(const std::string& workload, const Goal& goal, const Results& results) {
    Reached reached{workload, {}};
    const auto subject = measured(results, goal.subject, workload, goal.measure);
    const auto reference = least_measured(results, goal, workload);
    reached.lostRows = summary_of(results, goal.subject, workload, Unit::row).lostRowCount > 0;
    if (subject && reference) {
        const bool isAtMost = goal.bound == Bound::atMost;
        reached.ratio = isAtMost ? *subject / *reference : *reference / *subject;
        const bool isWithin =
            isAtMost ? *reached.ratio <= goal.limit : *reached.ratio >= goal.limit;
        reached.isHeld = isWithin && !reached.lostRows;
    }
    return reached;
}

bool was_run(const Results& results, const Goal& goal, const std::string& workload) {
    const auto isThere = [&](const Entry& entry) {
        return results.count({entry.contender, workload}) != 0;
    };
    return isThere(goal.subject) &&
           std::any_of(goal.references.begin(), goal.references.end(), isThere);
}

} // namespace

std::string Goal::text() const {
    return bound == Bound::atMost
               ? fmt::format("at most {} × {}", limit, referenceTitle)
               : fmt::format("at least {} times as fast as {}", limit, referenceTitle);
}

const std::vector<Goal>& all_goals() {
    static const std::vector<Goal> goals = [] {
        std::vector<Goal> all = memory_goals();
        for (const std::vector<Goal>& more : {file_goals(), reading_goals()}) {
            all.insert(all.end(), more.begin(), more.end());
        }
        return all;
    }();
    return goals;
}

bool Outcome::isHeld() const {
    return std::all_of(reached.begin(), reached.end(),
                       [](const Reached& one) { return one.isHeld; });
}

std::vector<Outcome> outcomes_of(const std::vector<Goal>& goals, const Results& results) {
    std::vector<Outcome> outcomes;
    for (const Goal& goal : goals) {
        Outcome outcome{goal, {}};
        for (const std::string& workload : goal.workloads) {
            if (was_run(results, goal, workload)) {
                outcome.reached.push_back(reached_on(workload, goal, results));
            }
        }
        if (!outcome.reached.empty()) {
            outcomes.push_back(std::move(outcome));
        }
    }
    return outcomes;
}

} // namespace logging2::core::bench
