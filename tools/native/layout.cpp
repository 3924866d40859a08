#include <tools/native/layout.hpp>

#include <tools/UsageError.hpp>

#include <algorithm>

namespace logging2::tools {
namespace {

constexpr std::uint64_t doubleByteCount = sizeof(double);

constexpr std::uint64_t rounded_up(std::uint64_t dividend, std::uint64_t divisor) {
    return dividend / divisor + (dividend % divisor == 0 ? 0 : 1);
}

std::uint64_t times_byte_count(const GroupFiles& files) {
    return files.times ? files.times->byteCount : 0;
}

/// A file without times is taken for that of a channel with one double per step.
std::uint64_t width_of(const StreamFile& values, const GroupFiles& files) {
    const std::uint64_t timeCount = times_byte_count(files) / doubleByteCount;
    return timeCount == 0 ? 1 : rounded_up(values.byteCount / doubleByteCount, timeCount);
}

/// Of 0 for a channel without a file.
std::uint64_t values_byte_count(const GroupFiles& files, std::size_t channel) {
    const auto found = files.channels.find(channel);
    return found == files.channels.end() ? 0 : found->second.byteCount;
}

const ChannelLayout* channel_of(const std::vector<ChannelLayout>& channels, std::size_t id) {
    const auto found =
        std::find_if(channels.begin(), channels.end(),
                     [id](const ChannelLayout& channel) { return channel.id == id; });
    return found == channels.end() ? nullptr : &*found;
}

void check_group(const std::vector<ChannelLayout>& channels, std::size_t group,
                 const GroupFiles& files) {
    const std::uint64_t stepCount = rounded_up(times_byte_count(files), doubleByteCount);
    for (const auto& [id, file] : files.channels) {
        const std::string name =
            "channel " + std::to_string(id) + " of group " + std::to_string(group);
        const ChannelLayout* const channel = channel_of(channels, id);
        if (channel == nullptr || channel->paths.empty()) {
            throw UsageError(name + " has a file, but no path in the setup");
        }
        const std::uint64_t valueCount = file.byteCount / doubleByteCount;
        if (stepCount != 0 && rounded_up(valueCount, stepCount) > channel->width) {
            throw UsageError("the width " + std::to_string(channel->width) + " of " + name +
                             " does not fit: its file has " + std::to_string(valueCount) +
                             " values for " + std::to_string(stepCount) + " steps");
        }
    }
}

} // namespace

std::string numbered_path(std::size_t group, std::size_t channel) {
    return "group-" + std::to_string(group) + ".channel-" + std::to_string(channel);
}

Layout layout_of(const LeftOver& leftOver) {
    Layout layout;
    for (const auto& [group, files] : leftOver.groups) {
        std::vector<ChannelLayout>& channels = layout[group];
        for (const auto& [id, file] : files.channels) {
            channels.push_back({id, width_of(file, files), {numbered_path(group, id)}});
        }
    }
    return layout;
}

bool has_certain_widths(const GroupFiles& files) {
    const std::uint64_t times = times_byte_count(files);
    return times % doubleByteCount == 0 &&
           std::all_of(files.channels.begin(), files.channels.end(), [times](const auto& entry) {
               const std::uint64_t byteCount = entry.second.byteCount;
               return times != 0 && byteCount != 0 && byteCount % times == 0;
           });
}

bool has_values(const ChannelLayout& channel) {
    return channel.width != 0 && !channel.paths.empty();
}

std::size_t row_width(const std::vector<ChannelLayout>& channels) {
    constexpr std::uint64_t greatest = std::uint64_t{64} * 1024 * 1024 / doubleByteCount;
    std::uint64_t sum = 0;
    for (const ChannelLayout& channel : channels) {
        if (has_values(channel)) {
            if (channel.width > greatest - sum) {
                throw UsageError("channel " + std::to_string(channel.id) +
                                 " makes the steps of its group longer than 64 MiB");
            }
            sum += channel.width;
        }
    }
    return sum;
}

void check_layout(const Layout& layout, const LeftOver& leftOver) {
    for (const auto& [group, files] : leftOver.groups) {
        const auto channels = layout.find(group);
        if (channels == layout.end()) {
            throw UsageError("group " + std::to_string(group) +
                             " has files, but is not in the setup");
        }
        check_group(channels->second, group, files);
    }
}

StepCounts count_steps(const GroupFiles& files, const std::vector<ChannelLayout>& channels) {
    std::uint64_t complete = times_byte_count(files) / doubleByteCount;
    std::uint64_t begun = rounded_up(times_byte_count(files), doubleByteCount);
    for (const ChannelLayout& channel : channels) {
        if (has_values(channel)) {
            const std::uint64_t values = values_byte_count(files, channel.id);
            complete = std::min(complete, values / doubleByteCount / channel.width);
            begun = std::max(begun, rounded_up(rounded_up(values, doubleByteCount), channel.width));
        }
    }
    return {complete, begun - complete};
}

} // namespace logging2::tools
