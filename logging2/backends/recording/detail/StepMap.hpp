#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace logging2::core::detail {

/// Where the steps of one group are, while the records of the group are added in their order.
class StepMap {
public:
    /// The chunk's steps replace what the group has from its first step on. Of these, the spans are
    /// readable, and where they are not, what was there before is the same.
    void add(const ChunkRow& chunk, const std::vector<SampleSpan>& readable);

    /// The steps from this one on do not exist any more.
    void discardFrom(std::size_t step);

    /// What is readable, in the order of the steps.
    std::vector<SampleSpan> readable() const;

    /// The first step and the number of steps of each part that is missing.
    std::vector<std::pair<std::size_t, std::size_t>> missing() const;

private:
    void cutOff(std::size_t step);
    void splitAt(std::size_t step);
    void replace(std::size_t firstStep, const SampleSpan& span);

    std::map<std::size_t, SampleSpan> spans; ///< by the first step; they do not overlap
    std::size_t stepCount = 0;               ///< with those that are missing
};

} // namespace logging2::core::detail
