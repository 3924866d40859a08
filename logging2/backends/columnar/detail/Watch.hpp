#pragma once

#include <logging2/backends/columnar/detail/GroupView.hpp>
#include <logging2/runs/Run.hpp>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// What a reader sees of a run.
struct RunContent {
    RunInfo info;
    std::vector<std::shared_ptr<const GroupView>> groups; ///< in the order of the setup
};

struct Interval {
    double from;
    double to;
};

/// What a run that was given out asks of its writer, and what the writer leaves for it.
struct Watch {
    /// Only the steps of this interval are shown, and they are kept beyond the limit.
    std::optional<Interval> interval;

    /// The oldest spans of each group that only the watch still keeps. The mutex of the samples
    /// guards it.
    std::map<std::size_t, std::vector<RowSpan>> kept;

    std::mutex mutex;
    /// The content at the writer's end. Guarded by the mutex.
    std::shared_ptr<const RunContent> last;
};

} // namespace logging2::core::detail
