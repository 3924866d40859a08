#include <examples/simulate/models/GroupInfo.hpp>

#include <algorithm>
#include <utility>

namespace simulate {
namespace {

using logging2::core::CoreDataId;
using logging2::core::Group;
using logging2::core::LoggedChannel;
using logging2::core::LoggedPath;
using logging2::core::LoggedPathsSetupData;
using logging2::core::SequenceMap;

bool has_channel(const std::vector<LoggedChannel>& channels, CoreDataId id) {
    return std::any_of(channels.begin(), channels.end(),
                       [id](const LoggedChannel& channel) { return channel.id == id; });
}

LoggedPathsSetupData group_setup(const GroupInfo& group) {
    std::vector<LoggedPath> paths;
    std::vector<LoggedChannel> channels;
    for (const PathInfo& info : group.paths) {
        const CoreDataId id(info.channel);
        paths.push_back({lang::core::ValuePath(info.path), id});
        if (!has_channel(channels, id)) {
            channels.push_back({id, info.width()});
        }
    }
    return {std::move(paths), std::move(channels)};
}

} // namespace

std::string PathInfo::label(std::size_t component) const {
    const std::string& name = components.at(component).name;
    return name.empty() ? path : path + '.' + name;
}

SequenceMap<Group, LoggedPathsSetupData> logging_setup(const std::vector<GroupInfo>& groups) {
    SequenceMap<Group, LoggedPathsSetupData> setup;
    for (const GroupInfo& group : groups) {
        setup.insert(Group(group.id), group_setup(group));
    }
    return setup;
}

} // namespace simulate
