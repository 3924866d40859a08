#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <vector>

namespace logging2::core {

/// The data of one logged path in memory, as a memory writer's `dataStore` gives it out inside a
/// boost::any: S samples of w doubles each.
///
/// Copies share the vectors. All paths of a group share one vector of times, and the paths that
/// show one channel share one vector of values. A store whose handles are both empty is the empty
/// store.
///
/// Threads: nothing changes the vectors after the writer's flush; any thread may read and release
/// them.
struct LOGGING2_EXPORT MemoryDatastore {
    /// S times in the order in which they were logged, in the host's unit.
    std::shared_ptr<std::vector<double>> times;

    /// S·w values, sample-major: those of sample s are the elements s·w to s·w + w - 1.
    std::shared_ptr<std::vector<double>> values;
};

} // namespace logging2::core
