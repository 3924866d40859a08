#include <logging2/backends/recording/detail/StepMap.hpp>

#include <algorithm>
#include <iterator>

namespace logging2::core::detail {

void StepMap::add(const ChunkRow& chunk, const std::vector<SampleSpan>& readable) {
    stepCount = chunk.firstStep + chunk.storedStepCount;
    cutOff(stepCount);
    for (const SampleSpan& span : readable) {
        replace(chunk.firstStep + span.first, span);
    }
}

void StepMap::discardFrom(std::size_t step) {
    stepCount = std::min(stepCount, step);
    cutOff(step);
}

void StepMap::cutOff(std::size_t step) {
    splitAt(step);
    spans.erase(spans.lower_bound(step), spans.end());
}

/// Makes two spans of one that reaches across the step.
void StepMap::splitAt(std::size_t step) {
    const auto next = spans.lower_bound(step);
    if (next == spans.begin()) {
        return;
    }
    auto& [first, span] = *std::prev(next);
    const std::size_t kept = step - first;
    if (kept < span.count) {
        spans.emplace(step, SampleSpan{span.chunk, span.first + kept, span.count - kept});
        span.count = kept;
    }
}

void StepMap::replace(std::size_t firstStep, const SampleSpan& span) {
    const std::size_t end = firstStep + span.count;
    splitAt(firstStep);
    splitAt(end);
    spans.erase(spans.lower_bound(firstStep), spans.lower_bound(end));
    spans.emplace(firstStep, span);
}

std::vector<SampleSpan> StepMap::readable() const {
    std::vector<SampleSpan> result;
    result.reserve(spans.size());
    for (const auto& [first, span] : spans) {
        result.push_back(span);
    }
    return result;
}

std::vector<std::pair<std::size_t, std::size_t>> StepMap::missing() const {
    std::vector<std::pair<std::size_t, std::size_t>> result;
    std::size_t step = 0;
    const auto goOnTo = [&](std::size_t next) {
        if (next > step) {
            result.emplace_back(step, next - step);
        }
    };
    for (const auto& [first, span] : spans) {
        goOnTo(first);
        step = first + span.count;
    }
    goOnTo(stepCount);
    return result;
}

} // namespace logging2::core::detail
