#pragma once

#include <tests/fuzz/ByteScript.hpp>
#include <tests/support/setups.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::core::test {

constexpr std::size_t scriptedPathCount = 8;

inline ValuePath scriptedPath(std::size_t number) {
    return ValuePath("p" + std::to_string(number));
}

/// Channels that are listed twice, wide and empty channels, aliases, channels without paths, paths
/// of foreign channels, and paths in several groups.
inline LoggedPathsSetupData scriptedGroup(ByteScript& script) {
    static constexpr std::size_t widths[] = {1, 1, 2, 3, 0, 8, 9, 17};
    constexpr std::size_t channelNumberCount = 6;
    std::vector<LoggedChannel> channels;
    for (std::size_t left = script.below(5); left > 0; --left) {
        channels.push_back({CoreDataId(script.below(channelNumberCount)), script.oneOf(widths)});
    }
    std::vector<LoggedPath> paths;
    for (std::size_t left = script.below(6); left > 0; --left) {
        const ValuePath path = scriptedPath(script.below(scriptedPathCount));
        paths.push_back({path, CoreDataId(script.below(channelNumberCount))});
    }
    return {paths, channels};
}

/// The total width of the group's channels.
inline std::size_t rowLength(const LoggedPathsSetupData& data) {
    std::size_t length = 0;
    for (const LoggedChannel& channel : data.coreIds()) {
        length += channel.width;
    }
    return length;
}

} // namespace logging2::core::test
