#include <logging2/backends/recording/detail/add_times.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <algorithm>

namespace logging2::core::detail {

void add_times(const double* times, std::size_t count, ChunkRow& row) {
    const bool isFirst = row.stepCount == 0;
    const bool ascendsBefore = isFirst || (row.ascends && row.lastTime <= times[0]);
    ElementRange range;
    if (isFirst) {
        row.firstTime = times[0];
        row.nanTimeCount = 0;
    } else {
        range = {row.leastTime, row.greatestTime, 0};
    }
    add_samples(times, count, 1, &range);
    row.stepCount += count;
    row.lastTime = times[count - 1];
    row.leastTime = range.least;
    row.greatestTime = range.greatest;
    row.nanTimeCount += static_cast<std::size_t>(range.nanCount);
    row.ascends = ascendsBefore && row.nanTimeCount == 0 && std::is_sorted(times, times + count);
}

} // namespace logging2::core::detail
