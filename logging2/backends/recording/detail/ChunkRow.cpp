#include <logging2/backends/recording/detail/ChunkRow.hpp>

#include <algorithm>

namespace logging2::core::detail {

void describe_times(const double* times, std::size_t count, const ElementRange& range,
                    ChunkRow& row) {
    row.stepCount = count;
    row.firstTime = times[0];
    row.lastTime = times[count - 1];
    row.leastTime = range.least;
    row.greatestTime = range.greatest;
    row.nanTimeCount = static_cast<std::size_t>(range.nanCount);
    row.ascends = row.nanTimeCount == 0 && std::is_sorted(times, times + count);
}

} // namespace logging2::core::detail
