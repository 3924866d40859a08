#pragma once

#include <tools/reading/StepReader.hpp>

#include <vector>

namespace logging2::tools {

/// What is exported of a run, which must outlive this.
struct Excerpt {
    const core::Run& run;
    std::vector<GroupSignals> groups;
    TimeRange range;
};

} // namespace logging2::tools
