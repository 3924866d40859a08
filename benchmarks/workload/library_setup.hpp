#pragma once

#include <benchmarks/workload/Rows.hpp>
#include <benchmarks/workload/Workload.hpp>

#include <logging2/logging2.hpp>

#include <cstddef>

namespace logging2::core::bench {

/// Returns the logged path of a channel of a group.
lang::core::ValuePath path_of(std::size_t group, std::size_t channel);

/// Returns a setup of the workload's groups, with one path per channel. Channel numbers are unique
/// in the setup.
SequenceMap<Group, LoggedPathsSetupData> setup_of(const Workload& workload);

/// Writes every row through the interface, as a host does.
inline void write_all(StreamWriter& writer, const Rows& rows) {
    rows.forEach([&](std::size_t group, double time, const double* values, std::size_t n) {
        writer.write(group, time, values, n);
    });
}

} // namespace logging2::core::bench
