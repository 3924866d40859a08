#include <tools/exporting/Excerpt.hpp>

#include <numeric>

namespace logging2::tools {

std::uint64_t greatest_step_count(const Excerpt& excerpt) {
    return std::accumulate(excerpt.groups.begin(), excerpt.groups.end(), std::uint64_t{0},
                           [&excerpt](std::uint64_t count, const GroupSignals& group) {
                               return count +
                                      StepReader(excerpt.run, group, excerpt.range).stepCount();
                           });
}

} // namespace logging2::tools
