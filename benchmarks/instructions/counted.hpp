#pragma once

#include <benchmarks/workload/Rows.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <cstddef>
#include <vector>

// Each program of this folder defines counted_section(). Callgrind counts only the instructions in
// it.

namespace logging2::core::bench {

/// The number of rows in each program. The stored counts are per row.
constexpr std::size_t countedRowCount = 20'000;

/// Returns a workload of one group with eight scalars.
inline Workload counted_workload() {
    return {"", {{std::vector<std::size_t>(8, 1)}}, countedRowCount};
}

} // namespace logging2::core::bench
