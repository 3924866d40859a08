#pragma once

#include <tools/selection/TimeRange.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <vector>

namespace logging2::tools {

/// The signals of one group.
struct GroupSignals {
    std::size_t group = 0; ///< its id
    std::vector<core::SignalInfo> signals;
};

/// The signals, which are ordered by group, for each group.
std::vector<GroupSignals> by_group(const std::vector<core::SignalInfo>& signals);

/// How many steps the group with this id has.
std::size_t step_count_of(const core::Run& run, std::size_t id);

/// Goes through the steps of a group, one at a time. Holds about a megabyte of them, whatever the
/// size of the run.
class StepReader {
public:
    /// Goes through the steps of the group within the range. The run must outlive the reader.
    StepReader(const core::Run& runToRead, GroupSignals groupSignals, const TimeRange& timeRange);

    /// Goes through these steps of the group. The run must outlive the reader.
    StepReader(const core::Run& runToRead, GroupSignals groupSignals, core::StepRange stepRange);

    /// Goes to the next step, at first to the first one; false if there is none.
    bool next();

    double time() const { return times[position]; }

    /// The number of the step in its group.
    std::size_t step() const noexcept { return steps.first + passedCount(); }

    /// The values of the signal with this index: as many as it is wide.
    core::DoubleView values(std::size_t signal) const;

    const std::vector<core::SignalInfo>& signals() const noexcept { return selected.signals; }

    /// How many steps there are at most, and how many of them were passed.
    std::size_t stepCount() const noexcept { return steps.count; }
    std::size_t passedCount() const noexcept { return readCount - (blockSize - position); }

private:
    bool readBlock();

    const core::Run& run;
    GroupSignals selected;
    TimeRange range;
    core::StepRange steps;
    std::size_t blockStepCount;
    std::size_t readCount = 0;                ///< of steps
    std::vector<double> times;                ///< of the block of steps that was read last
    std::vector<std::vector<double>> columns; ///< the values of each signal in it
    std::size_t blockSize = 0;
    std::size_t position = 0;
};

} // namespace logging2::tools
