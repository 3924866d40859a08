#include <logging2/backends/recording/detail/VisibleSteps.hpp>

#include <algorithm>
#include <limits>

namespace logging2::core::detail {

VisibleSteps::VisibleSteps(const StoredGroup& group, std::size_t stepCount) {
    for (const ChunkRow& chunk : group.chunks) {
        if (stepCount == 0) {
            break;
        }
        all.push_back({&chunk, 0, std::min(stepCount, chunk.stepCount)});
        stepCount -= all.back().count;
    }
    leastFromHere.resize(all.size());
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t k = all.size(); k-- > 0;) {
        least = std::min(least, all[k].chunk->leastTime);
        leastFromHere[k] = least;
    }
}

std::vector<SampleSpan> VisibleSteps::spansNear(double from, double to) const {
    const auto first = std::partition_point(all.begin(), all.end(), [from](const SampleSpan& span) {
        return span.chunk->greatestSoFar < from;
    });
    const auto behind = std::partition_point(leastFromHere.begin(), leastFromHere.end(),
                                             [to](double least) { return least <= to; });
    const auto end = all.begin() + (behind - leastFromHere.begin());
    std::vector<SampleSpan> result;
    std::copy_if(first, std::max(first, end), std::back_inserter(result),
                 [from, to](const SampleSpan& span) {
                     return span.chunk->greatestTime >= from && span.chunk->leastTime <= to;
                 });
    return result;
}

} // namespace logging2::core::detail
