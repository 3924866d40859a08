#pragma once

#include <tools/exporting/Excerpt.hpp>
#include <tools/exporting/NewFiles.hpp>

#include <memory>

namespace logging2::tools {

/// Writes a file column by column. An error is thrown as UsageError that names the file.
class ColumnOutput {
public:
    virtual ~ColumnOutput() = default;

    ColumnOutput() = default;
    ColumnOutput(const ColumnOutput&) = delete;
    ColumnOutput& operator=(const ColumnOutput&) = delete;

    /// Begins the next group, whose columns have so many steps.
    virtual void beginGroup(const GroupSignals& group, std::size_t stepCount) = 0;

    /// Begins the column of the group's times. All of them must be added.
    virtual void beginTimes() = 0;

    /// Begins the column of a signal of the group. Returns false if no values are to be added,
    /// because the file has them under another path.
    virtual bool beginSignal(const core::SignalInfo& signal) = 0;

    /// Adds the values of further whole steps to the column, step by step.
    virtual void add(const std::vector<double>& values) = 0;

    /// Completes the file.
    virtual void end() = 0;
};

/// A zip archive of arrays that numpy.load reads.
std::unique_ptr<ColumnOutput> npz_output(const NewFile& file,
                                         const std::vector<GroupSignals>& groups, bool compresses);

/// An HDF5 file with a group for each group, and what is known about the run.
std::unique_ptr<ColumnOutput> hdf5_output(const NewFile& file, const core::RunInfo& run,
                                          bool compresses);

} // namespace logging2::tools
