#pragma once

#include <logging2/backends/recording/detail/OpenChunks.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Samples of one column of a chunk, and where they are to go.
struct ColumnPart {
    std::shared_ptr<const OpenChunk> chunk;
    std::size_t column = 0;
    std::size_t firstStep = 0;
    std::size_t count = 0;
    double* to = nullptr;
};

/// Reads all parts. If they are large, a second thread helps. Throws the error of the first part
/// that cannot be read.
void read_columns(const std::vector<ColumnPart>& parts);

} // namespace logging2::core::detail
