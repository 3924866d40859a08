#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace custom_backend {

/// A channel's values at the steps at which they changed.
struct ChannelHistory {
    std::size_t width = 0;
    /// The numbers of those steps, ascending.
    std::vector<std::size_t> steps;
    /// Width doubles for each of them.
    std::vector<double> values;
};

/// The samples of one group.
struct GroupHistory {
    std::vector<double> times;
    /// In the order of the row.
    std::vector<ChannelHistory> channels;
};

/// What the writer gives out for a path and the reader takes. Without a group it has no data.
struct OnChangeStore {
    std::shared_ptr<const GroupHistory> group;
    std::size_t channel = 0;
};

} // namespace custom_backend
