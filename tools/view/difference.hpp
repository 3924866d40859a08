#pragma once

#include <tools/compare/Tolerances.hpp>
#include <tools/terminal/json.hpp>
#include <tools/view/trace.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <string>

namespace logging2::tools::view {

/// What is compared.
struct DifferenceQuestion {
    std::string signal;
    std::size_t element = 0;
    TraceRange range; ///< of the times of run A
    double shift = 0; ///< is added to the times of run B
    Tolerance tolerance;
};

/// How run B differs from run A, as `logging2 diff` finds it, and the tube around A for each pixel.
/// Throws HttpError: status 404 if one of them has no such signal or element, 422 if there are so
/// many steps within the range that it would take too long.
Json difference_between(const core::Run& a, const core::Run& b, const DifferenceQuestion& question);

} // namespace logging2::tools::view
