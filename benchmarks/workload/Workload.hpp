#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::core::bench {

/// The widths of one group's channels, in row order.
struct GroupShape {
    std::vector<std::size_t> widths;

    /// Returns the number of doubles in a row.
    std::size_t valueCount() const;
};

/// The data that is stored: some groups of channels, all with the same number of steps. In each
/// step, one row of each group is written.
struct Workload {
    std::string name;
    std::vector<GroupShape> groups;
    std::size_t stepCount = 0;

    /// The number of steps below which the workload would not show its purpose.
    std::size_t leastStepCount = 1;

    /// Returns the number of rows of all groups.
    std::size_t rowCount() const;

    /// Returns the number of doubles in the rows of all groups and steps, without the times.
    std::size_t valueCount() const;

    /// Returns the number of bytes of all rows and their times.
    std::size_t byteCount() const;

    std::size_t widestRow() const;

    /// Returns a text such as "1 group, 8 values in 8 channels, 4000000 steps".
    std::string description() const;
};

/// Returns the workload of this name: "W1" to "W5"; "WL", whose groups fill the buffers of the
/// file-backed writer on consecutive calls; "WR", whose groups and widths are random numbers from a
/// fixed seed; "CxS", which is one group of C scalars and S steps; or "GxCxS", which is G such
/// groups. Throws std::invalid_argument for any other name.
Workload workload_named(const std::string& name);

/// Returns the workload with its number of steps multiplied by the factor, but with at least
/// leastStepCount steps.
Workload scaled(Workload workload, double factor);

} // namespace logging2::core::bench
