#include <benchmarks/workload/library_setup.hpp>

#include <string>
#include <vector>

namespace logging2::core::bench {

lang::core::ValuePath path_of(std::size_t group, std::size_t channel) {
    return lang::core::ValuePath("group" + std::to_string(group) + ".channel" +
                                 std::to_string(channel));
}

SequenceMap<Group, LoggedPathsSetupData> setup_of(const Workload& workload) {
    SequenceMap<Group, LoggedPathsSetupData> setup;
    std::size_t nextId = 0;
    for (std::size_t group = 0; group < workload.groups.size(); ++group) {
        std::vector<LoggedPath> paths;
        std::vector<LoggedChannel> channels;
        for (const std::size_t width : workload.groups[group].widths) {
            const CoreDataId id(nextId++);
            paths.push_back({path_of(group, channels.size()), id});
            channels.push_back({id, width});
        }
        setup.insert(Group(group), LoggedPathsSetupData(std::move(paths), std::move(channels)));
    }
    return setup;
}

} // namespace logging2::core::bench
