#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::core::bench {

/// The widths of one group's channels, in row order.
struct GroupShape {
    std::vector<std::size_t> widths;

    /// Doubles in a row.
    std::size_t valueCount() const;
};

/// What is stored: some groups of channels, each for the same number of steps. The groups take
/// turns, one row each per step.
struct Workload {
    std::string name;
    std::vector<GroupShape> groups;
    std::size_t stepCount = 0;

    /// With fewer steps the workload would not show what it is for.
    std::size_t leastStepCount = 1;

    /// Rows of all groups.
    std::size_t rowCount() const;

    /// Doubles in the rows of all groups at all steps, without the times.
    std::size_t valueCount() const;

    /// Bytes of all rows, each with its time.
    std::size_t byteCount() const;

    std::size_t widestRow() const;

    /// Such as "1 group, 8 values in 8 channels, 4000000 steps".
    std::string description() const;
};

/// "W1" to "W5"; "WL", whose groups fill the buffers of the file-backed writer on consecutive
/// calls; "WR", whose groups and widths are drawn from a fixed seed; or "CxS" for one group of C
/// scalars and S steps. Throws std::invalid_argument for any other name.
Workload workload_named(const std::string& name);

/// The same groups for factor times the steps, but no fewer than the least.
Workload scaled(Workload workload, double factor);

} // namespace logging2::core::bench
