#pragma once

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <cstddef>
#include <filesystem>
#include <memory>

namespace logging2::core::bench {

/// Returns the options of a recording in the directory.
inline RecordingOptions options_in(const std::filesystem::path& directory) {
    RecordingOptions options;
    options.directory = directory.string();
    return options;
}

/// Compares all signals of a recording with the rows.
inline void check_recording(const Rows& rows, const std::string& location) {
    const std::unique_ptr<Run> run = open_recording(location);
    const Workload& workload = rows.workload();
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        for (std::size_t k = 0; k < workload.groups[group].widths.size(); ++k) {
            const auto [times, values, width] = run->series(path_of(group, k));
            ColumnCheck column(rows, {group, k});
            column.take(times.data(), values.data(), times.size());
            check_count(width, column.width());
            check_count(column.stepCount(), workload.stepCount);
        }
    }
}

} // namespace logging2::core::bench
