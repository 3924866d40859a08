#pragma once

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <cstddef>

namespace logging2::core::bench {

/// Calls use(column, times, values) with what a reader of each path returns.
template <class Reader, class Use>
void read_columns(const Rows& rows, const StreamWriter& writer, Use use) {
    const Workload& workload = rows.workload();
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        for (std::size_t channel = 0; channel < workload.groups[group].widths.size(); ++channel) {
            const auto [times, values] =
                Reader(writer.dataStore(path_of(group, channel))).timeseries();
            use(ColumnId{group, channel}, times, values);
        }
    }
}

/// Compares what readers of a flushed writer return with all rows.
template <class Reader>
void check_columns(const Rows& rows, const StreamWriter& writer) {
    read_columns<Reader>(rows, writer,
                         [&rows](ColumnId column, const auto& times, const auto& values) {
                             check_column(rows, column, times, values, rows.workload().stepCount);
                         });
}

} // namespace logging2::core::bench
