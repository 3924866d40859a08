#pragma once

#include <examples/simulate/models/GroupInfo.hpp>

#include <vector>

namespace simulate {

/// What a group's readers gave back, S samples.
struct GroupResult {
    GroupInfo info;
    /// S times, in the model's unit, in the order in which they were logged.
    std::vector<double> times;
    /// Parallel to info.paths: S·w values each, sample-major, w being the path's width.
    std::vector<std::vector<double>> values;
};

} // namespace simulate
