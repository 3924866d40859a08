#include <tools/compare/steps_around.hpp>

#include <tools/compare/Extent.hpp>
#include <tools/reading/StepReader.hpp>

#include <cmath>

namespace logging2::tools {

std::optional<core::StepRange> steps_around(const core::Run& run, std::size_t group,
                                            const TimeRange& range, double timeTolerance) {
    const core::StepRange all{0, step_count_of(run, group)};
    if (range.isWhole()) {
        return all;
    }
    const double from = range.least() - timeTolerance;
    const double to = range.greatest() + timeTolerance;
    const core::StepRange before = run.steps(group, -infinity, std::nextafter(from, -infinity));
    const core::StepRange within = run.steps(group, from, to);
    const core::StepRange after = run.steps(group, std::nextafter(to, infinity), infinity);
    const std::size_t first = before.count > 0 ? before.first + before.count - 1 : 0;
    const std::size_t end = after.count > 0 ? after.first + 1 : all.count;
    const bool hasAllWithin =
        within.count == 0 || (first <= within.first && within.first + within.count <= end);
    if (first > end || !hasAllWithin) {
        return std::nullopt;
    }
    return core::StepRange{first, end - first};
}

} // namespace logging2::tools
