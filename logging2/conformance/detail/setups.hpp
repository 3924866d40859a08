#pragma once

#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/CoreDataId.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/stream/StreamWriter.hpp>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

using GroupSetup = SequenceMap<Group, LoggedPathsSetupData>;
using lang::core::ValuePath;

/// Returns paths that are given as {text, channel number}.
inline std::vector<LoggedPath>
paths(std::initializer_list<std::pair<const char*, std::size_t>> entries) {
    std::vector<LoggedPath> result;
    for (const auto& [text, channel] : entries) {
        result.push_back({ValuePath(text), CoreDataId(channel)});
    }
    return result;
}

/// Returns channels that are given as {channel number, width}.
inline std::vector<LoggedChannel>
channels(std::initializer_list<std::pair<std::size_t, std::size_t>> entries) {
    std::vector<LoggedChannel> result;
    for (const auto& [channel, width] : entries) {
        result.push_back({CoreDataId(channel), width});
    }
    return result;
}

/// Returns a setup of group 0 with the scalar channel 0, which the path "x" shows.
inline GroupSetup scalarSetup() {
    return GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}}), channels({{0, 1}}))}};
}

/// Returns a setup of group 0 with the scalar channel 7, which the path "a" shows, and the channel
/// 9 of width 2, which the path "b" shows.
inline GroupSetup mixedWidthSetup() {
    return GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"a", 7}, {"b", 9}}), channels({{7, 1}, {9, 2}}))}};
}

inline void write(StreamWriter& writer, std::size_t group, double time,
                  const std::vector<double>& row) {
    writer.write(group, time, row.data(), row.size());
}

} // namespace logging2::core::test
