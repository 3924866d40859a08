#pragma once

#include <logging2/host/kernel/CoreDataId.hpp>
#include <logging2/host/lang/ValuePath.hpp>

#include <cstddef>
#include <utility>
#include <vector>

namespace logging2::core {

/// A logged value path and the channel whose data it shows.
struct LoggedPath {
    /// What the data is asked for by.
    lang::core::ValuePath path;
    /// The channel, one of its group's coreIds().
    CoreDataId id;
};

/// A channel of a group and the number of doubles that it contributes to each row.
struct LoggedChannel {
    /// The channel.
    CoreDataId id;
    /// Doubles per row; may be 0.
    std::size_t width;
};

/// What one logging group logs. Several paths may show one channel (aliases), and a channel may
/// be shown by no path.
class LoggedPathsSetupData {
public:
    /// What paths() and coreIds() are to answer; nothing is checked.
    LoggedPathsSetupData(std::vector<LoggedPath> paths, std::vector<LoggedChannel> channels)
        : loggedPaths(std::move(paths)),
          loggedChannels(std::move(channels)) {}

    /// The value paths of the group.
    const std::vector<LoggedPath>& paths() const noexcept { return loggedPaths; }

    /// The channels of the group in the order in which their values stand in a row.
    const std::vector<LoggedChannel>& coreIds() const noexcept { return loggedChannels; }

private:
    std::vector<LoggedPath> loggedPaths;
    std::vector<LoggedChannel> loggedChannels;
};

} // namespace logging2::core
