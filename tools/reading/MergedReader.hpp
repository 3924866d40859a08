#pragma once

#include <tools/reading/StepReader.hpp>

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {

/// The titles of a table with the time and all values of these groups: "time", and for each signal
/// its path, or its path with the index of each element if it is not a scalar.
std::vector<std::string> column_titles(const std::vector<GroupSignals>& groups);

/// Appends all values of the present step.
void append_values(const StepReader& steps, std::vector<std::optional<double>>& row);

/// Goes through the steps of several groups together. Each row has one time and the groups' next
/// steps if they have this time. A group whose times do not ascend keeps the order of its steps.
class MergedReader {
public:
    /// The run must outlive the reader.
    MergedReader(const core::Run& run, const std::vector<GroupSignals>& groups,
                 const TimeRange& range);

    /// Goes to the next row, at first to the first one; false if there is none.
    bool next();

    /// The time and the values of each group; nothing for a group without a step at this time.
    const std::vector<std::optional<double>>& row() const noexcept { return cells; }

private:
    /// A group, and whether it has a step that is in no row so far.
    struct Source {
        StepReader steps;
        bool hasStep;
        std::size_t valueCount;
    };

    std::deque<Source> sources;
    std::vector<std::optional<double>> cells;
};

} // namespace logging2::tools
