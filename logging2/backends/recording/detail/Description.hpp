#pragma once

#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// The widest channel of a recording, so that no product of counts overflows.
constexpr std::size_t greatestWidth = std::size_t{1} << 32;

/// A channel of a described group.
struct DescribedChannel {
    std::size_t number = 0; ///< the value of its CoreDataId
    std::size_t width = 0;
};

/// A path, and the position of the channel that it shows in its group.
struct DescribedPath {
    std::string text;
    std::size_t channel = 0;
};

/// A group, with its channels in the order of the row.
struct DescribedGroup {
    std::size_t id = 0;
    std::vector<DescribedChannel> channels;
    std::vector<DescribedPath> paths;
};

/// What is fixed about a run from its start on.
struct Description {
    std::string id; ///< a UUID in 36 characters
    std::string name;
    std::string start; ///< see text_of_time()
    std::string host;
    std::string process;
    std::string libraryVersion;
    std::map<std::string, std::string> properties;
    std::vector<DescribedGroup> groups;
};

/// The groups of a setup. A path that several groups or channels list belongs to the first one;
/// paths whose channel their group has not are left out, as in the memory writers.
std::vector<DescribedGroup> groups_of(const SequenceMap<Group, LoggedPathsSetupData>& setup);

/// The widths of the group's channels.
std::vector<std::size_t> widths_of(const DescribedGroup& group);

/// The description as lines of text, as it stands in the data file.
std::string text_of(const Description& description);

/// The description of these lines. Throws std::runtime_error with the number of the line that is
/// not understood.
Description description_of(const std::string& text);

/// A time in UTC with microseconds, such as "2026-11-21T22:15:30.123456Z".
std::string text_of_time(std::chrono::system_clock::time_point time);

/// The time of such a text. Throws std::runtime_error if it is none.
std::chrono::system_clock::time_point time_of(const std::string& text);

/// A new UUID in 36 characters.
std::string new_uuid();

/// The bytes of a UUID. Throws std::runtime_error if the text is none.
RunId run_id_of(const std::string& uuid);

} // namespace logging2::core::detail
