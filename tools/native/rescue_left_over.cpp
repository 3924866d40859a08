#include <tools/native/rescue_left_over.hpp>

#include <tools/native/GroupReader.hpp>
#include <tools/native/PendingRecording.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <vector>

namespace logging2::tools {
namespace {

using core::CoreDataId;
using core::Group;
using core::LoggedPathsSetupData;
using lang::core::ValuePath;

core::SequenceMap<Group, LoggedPathsSetupData> setup_of(const Layout& layout) {
    core::SequenceMap<Group, LoggedPathsSetupData> setup;
    for (const auto& [group, channels] : layout) {
        std::vector<core::LoggedPath> paths;
        std::vector<core::LoggedChannel> widths;
        for (const ChannelLayout& channel : channels) {
            for (const std::string& path : channel.paths) {
                paths.push_back({ValuePath(path), CoreDataId(channel.id)});
            }
            if (!channel.paths.empty()) {
                widths.push_back({CoreDataId(channel.id), channel.width});
            }
        }
        setup.insert(Group(group), LoggedPathsSetupData(paths, widths));
    }
    return setup;
}

core::StreamingAttributes attributes_of(const NewRecording& recording) {
    const std::string name = std::filesystem::path(recording.location).stem().string();
    core::StreamingAttributes attributes;
    attributes.name = core::BasicTableString<char>(name);
    return attributes;
}

core::RecordingOptions options_of(const LeftOver& leftOver, const NewRecording& recording) {
    core::RecordingOptions options = recording.options;
    options.properties = {{"rescued from", printable(location_of(leftOver))},
                          {"last change", utc_text(last_change(leftOver))}};
    return options;
}

void write_block(const StepBlock& block, const std::vector<std::size_t>& widths, std::size_t group,
                 std::vector<double>& row, core::RecordingStreamWriter& writer) {
    for (std::size_t step = 0; step < block.stepCount; ++step) {
        auto target = row.begin();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            target = std::copy_n(block.columns[i].data() + step * widths[i], widths[i], target);
        }
        writer.write(group, block.times[step], row.data(), row.size());
    }
}

/// Refuses rows that are too long before anything is made.
std::map<std::size_t, StepCounts> checked_counts(const LeftOver& leftOver, const Layout& layout) {
    std::map<std::size_t, StepCounts> counts;
    for (const auto& [group, channels] : layout) {
        row_width(channels);
        const auto files = leftOver.groups.find(group);
        counts[group] =
            files == leftOver.groups.end() ? StepCounts() : count_steps(files->second, channels);
    }
    return counts;
}

std::uint64_t complete_steps(const std::map<std::size_t, StepCounts>& counts) {
    return std::accumulate(
        counts.begin(), counts.end(), std::uint64_t{0},
        [](std::uint64_t sum, const auto& entry) { return sum + entry.second.complete; });
}

} // namespace

std::map<std::size_t, StepCounts> rescue_left_over(const LeftOver& leftOver, const Layout& layout,
                                                   const NewRecording& recording,
                                                   const core::RecordingProgress& progress) {
    std::map<std::size_t, StepCounts> counts = checked_counts(leftOver, layout);
    const std::uint64_t total = complete_steps(counts);
    PendingRecording pending(recording.location, attributes_of(recording), setup_of(layout),
                             options_of(leftOver, recording));
    std::uint64_t done = 0;
    for (const auto& [group, channels] : layout) {
        GroupReader reader(leftOver, group, channels);
        std::vector<double> row(row_width(channels));
        progress(done, total);
        for (StepBlock block = reader.next(); block.stepCount != 0; block = reader.next()) {
            write_block(block, reader.widths(), group, row, pending.writer());
            done += block.stepCount;
            progress(done, total);
        }
    }
    pending.publish();
    return counts;
}

} // namespace logging2::tools
