#pragma once

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <boost/any.hpp>

#include <cstddef>

namespace logging2::core::bench {

/// Compares every store of a flushed memory writer with the rows. A store must hold the workload's
/// last stepCount steps.
inline void check_stores(const Rows& rows, const StreamWriter& writer, std::size_t stepCount) {
    const Workload& workload = rows.workload();
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        for (std::size_t channel = 0; channel < workload.groups[group].widths.size(); ++channel) {
            const auto store =
                boost::any_cast<MemoryDatastore>(writer.dataStore(path_of(group, channel)));
            check_column(rows, {group, channel}, *store.times, *store.values, stepCount);
        }
    }
}

} // namespace logging2::core::bench
