#pragma once

#include <tools/native/Directory.hpp>
#include <tools/native/LeftOver.hpp>
#include <tools/native/layout.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace logging2::tools {

/// Steps that follow each other in a group.
struct StepBlock {
    std::size_t stepCount = 0;
    std::vector<double> times;
    /// For each channel with a file, in the order of the layout: its values, step after step.
    std::vector<std::vector<double>> columns;
};

/// Reads the complete steps of a group of a left-over. It has no file open between two calls,
/// because there may be more files than a process may have open.
class GroupReader {
public:
    /// Takes a layout that fits the left-over.
    GroupReader(const LeftOver& leftOver, std::size_t groupId,
                const std::vector<ChannelLayout>& channels);

    /// How many doubles each channel has in a step, in the order of the columns.
    const std::vector<std::size_t>& widths() const noexcept { return columnWidths; }

    /// The next steps, at most about 8 MiB of them; none at the end. Throws std::system_error, and
    /// UsageError if a file is no longer the one that was found.
    StepBlock next();

private:
    /// A file of the group that has complete steps.
    struct Column {
        std::string name;
        StreamFile file;
    };

    std::vector<double> read(const Column& column, std::size_t width, std::size_t steps) const;

    Directory directory;
    Column times;
    std::vector<Column> columns;
    std::vector<std::size_t> columnWidths;
    std::size_t stepsPerBlock = 0;
    std::uint64_t stepCount = 0;
    std::uint64_t position = 0;
};

} // namespace logging2::tools
