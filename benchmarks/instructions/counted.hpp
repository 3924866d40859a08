#pragma once

#include <benchmarks/workload/Rows.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <cstddef>
#include <vector>

// Each program of this folder defines counted_section(), which callgrind counts, and nothing else.

namespace logging2::core::bench {

/// Rows per program; the table of counts is per row.
constexpr std::size_t countedRowCount = 20'000;

/// One group of eight scalars.
inline Workload counted_workload() {
    return {"", {{std::vector<std::size_t>(8, 1)}}, countedRowCount};
}

} // namespace logging2::core::bench
