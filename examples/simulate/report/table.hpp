#pragma once

#include <examples/simulate/logging/Recorder.hpp>
#include <examples/simulate/logging/RunResult.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace simulate {

/// What a run was, for the lines below the table.
struct RunSummary {
    StepCounts counts;
    /// Solving and logging together.
    double seconds;
};

/// One line per path and component: samples, first and last time, smallest and largest value.
void print_table(std::ostream& out, const std::vector<GroupResult>& results,
                 const std::string& timeUnit);

/// Steps logged, steps taken back, rows per second, and what a back-end declined.
void print_summary(std::ostream& out, const RunSummary& summary);

} // namespace simulate
