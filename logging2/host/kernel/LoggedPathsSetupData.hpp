#pragma once

#include <logging2/host/kernel/CoreDataId.hpp>
#include <logging2/host/lang/ValuePath.hpp>

#include <cstddef>
#include <utility>
#include <vector>

namespace logging2::core {

/// A logged value path and the channel whose data it shows.
struct LoggedPath {
    /// The path by which the host asks for the data.
    lang::core::ValuePath path;
    /// The channel whose data the path shows. It is one of the coreIds() of the same group.
    CoreDataId id;
};

/// A channel of a group and the number of doubles that it contributes to each row.
struct LoggedChannel {
    /// The identifier of the channel.
    CoreDataId id;
    /// The number of doubles in each row. It may be 0.
    std::size_t width;
};

/// Describes what one logging group logs. Several paths may show the same channel (aliases), and a
/// channel need not have a path.
class LoggedPathsSetupData {
public:
    /// Makes a description with these paths and channels. Nothing is checked.
    LoggedPathsSetupData(std::vector<LoggedPath> paths, std::vector<LoggedChannel> channels)
        : loggedPaths(std::move(paths)),
          loggedChannels(std::move(channels)) {}

    /// Returns the logged value paths of the group.
    const std::vector<LoggedPath>& paths() const noexcept { return loggedPaths; }

    /// Returns the channels of the group, in the order in which a row holds their values.
    const std::vector<LoggedChannel>& coreIds() const noexcept { return loggedChannels; }

private:
    std::vector<LoggedPath> loggedPaths;
    std::vector<LoggedChannel> loggedChannels;
};

} // namespace logging2::core
