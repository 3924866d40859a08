#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <vector>

namespace logging2::core {

/// The data of one logged path in memory: S samples of w doubles each. A memory writer's
/// `dataStore` returns it inside a boost::any.
///
/// Copies share the vectors. All paths of a group share one vector of times, and aliases (paths
/// that show the same channel) share one vector of values. A store whose two handles are null is
/// the empty store.
///
/// Threads: nothing changes the vectors after the writer's flush, so any thread may read and
/// release them.
struct LOGGING2_EXPORT MemoryDatastore {
    /// S times in the order in which they were logged, in the host's unit.
    std::shared_ptr<std::vector<double>> times;

    /// S·w values, sample-major: those of sample s are the elements s·w to s·w + w - 1.
    std::shared_ptr<std::vector<double>> values;
};

} // namespace logging2::core
