#pragma once

#include <tools/reading/StepReader.hpp>

#include <cstdint>
#include <vector>

namespace logging2::tools {

/// What is exported of a run, which must outlive this.
struct Excerpt {
    const core::Run& run;
    std::vector<GroupSignals> groups;
    TimeRange range;
};

/// How many steps it has at most, in all groups; more only if times do not ascend.
std::uint64_t greatest_step_count(const Excerpt& excerpt);

} // namespace logging2::tools
