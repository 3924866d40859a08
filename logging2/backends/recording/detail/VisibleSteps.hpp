#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/IndexReader.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// The samples of a group that a reader sees, chunk by chunk.
class VisibleSteps {
public:
    /// The first stepCount steps of the group, which must outlive the object.
    VisibleSteps(const StoredGroup& group, std::size_t stepCount);

    const std::vector<SampleSpan>& spans() const noexcept { return all; }

    /// All spans that may hold times in [from, to], and maybe others. If the times ascend, it looks
    /// at few of the others.
    std::vector<SampleSpan> spansNear(double from, double to) const;

private:
    std::vector<SampleSpan> all;
    std::vector<double> leastFromHere; ///< the least time of a span and of all behind it
};

} // namespace logging2::core::detail
