#pragma once

#include <tools/native/LeftOver.hpp>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

namespace logging2::tools {

/// A channel of a group.
struct ChannelLayout {
    std::size_t id = 0;
    /// How many doubles it has in each step.
    std::uint64_t width = 0;
    /// The names of its data. Without any, the writer has made no file for the channel.
    std::vector<std::string> paths;
};

/// The channels of each group, by the group's number.
using Layout = std::map<std::size_t, std::vector<ChannelLayout>>;

/// The name of a channel without another one: "group-0.channel-3".
std::string numbered_path(std::size_t group, std::size_t channel);

/// What the files tell: a width is the size of the channel's file divided by the number of times,
/// rounded up, and the names are numbered.
Layout layout_of(const LeftOver& leftOver);

/// Whether the files of the group tell the widths for sure: each has all steps, and some values.
bool has_certain_widths(const GroupFiles& files);

/// Reads a layout from JSON. Throws UsageError if it is none.
///
/// Its form is {"groups": [{"id": 0, "channels": [{"id": 0, "width": 1, "paths": ["x"]}]}]}. A
/// channel without the member "paths" gets a numbered name.
Layout read_layout(std::istream& file);

/// Whether the writer makes a file with values for the channel.
bool has_values(const ChannelLayout& channel);

/// How many doubles a row of a group has in the files. Throws UsageError if a row is longer than
/// 64 MiB, which no recording can store.
std::size_t row_width(const std::vector<ChannelLayout>& channels);

/// Throws UsageError if the layout lacks a group or channel of the left-over, or if a file has more
/// values than the width allows.
void check_layout(const Layout& layout, const LeftOver& leftOver);

/// How many steps of a group there are.
struct StepCounts {
    /// The steps at the beginning that are in all files.
    std::uint64_t complete = 0;
    /// The steps behind them that are in some file, also in part.
    std::uint64_t incomplete = 0;
};

StepCounts count_steps(const GroupFiles& files, const std::vector<ChannelLayout>& channels);

} // namespace logging2::tools
