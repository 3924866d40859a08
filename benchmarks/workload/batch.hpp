#pragma once

#include <benchmarks/workload/Rows.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::bench {

/// Returns all rows, step by step. Each row follows its time, as in a buffer of the file-backed
/// writer.
inline std::vector<double> batch_of(const Rows& rows) {
    std::vector<double> batch;
    batch.reserve(rows.workload().byteCount() / sizeof(double));
    rows.forEach([&](std::size_t, double time, const double* values, std::size_t n) {
        batch.push_back(time);
        batch.insert(batch.end(), values, values + n);
    });
    return batch;
}

} // namespace logging2::core::bench
