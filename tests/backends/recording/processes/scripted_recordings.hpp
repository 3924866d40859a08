#pragma once

#include <tests/backends/recording/processes/Script.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::test {

/// Each group has the scalar "number" and a channel of another width, "wide".
inline constexpr std::array<std::size_t, scriptGroups.size()> wideWidths{0, 1, 3};

inline std::string path_of(std::size_t group, const char* name) {
    return "group" + std::to_string(group) + "." + name;
}

inline GroupSetup script_setup() {
    GroupSetup setup;
    for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
        setup.insert(Group(scriptGroups[g]),
                     LoggedPathsSetupData(paths({{path_of(g, "number").c_str(), 2 * g},
                                                 {path_of(g, "wide").c_str(), 2 * g + 1}}),
                                          channels({{2 * g, 1}, {2 * g + 1, wideWidths[g]}})));
    }
    return setup;
}

inline double wide_value(double number, std::size_t element) {
    return 10 * number + static_cast<double>(element);
}

inline void perform(StreamWriter& writer, const Operation& operation, double number) {
    const std::size_t group = scriptGroups[operation.group];
    if (operation.kind == Operation::Kind::flushIntermediate) {
        writer.flushIntermediate();
    } else if (operation.kind == Operation::Kind::rollback) {
        writer.rollback(group, operation.time);
    } else {
        const std::array<double, 4> row{number, wide_value(number, 0), wide_value(number, 1),
                                        wide_value(number, 2)};
        writer.write(group, operation.time, row.data(), 1 + wideWidths[operation.group]);
    }
}

/// The samples of a group. Throws if a value does not fit the number of its sample.
inline std::vector<ModelSample> content_of(const Run& run, std::size_t group) {
    const auto [times, numbers, one] = run.series(ValuePath(path_of(group, "number")));
    const auto [wideTimes, values, width] = run.series(ValuePath(path_of(group, "wide")));
    if (times.empty()) {
        return {};
    }
    if (one != 1 || width != wideWidths[group] || wideTimes.size() != times.size() ||
        std::memcmp(times.data(), wideTimes.data(), times.size() * sizeof(double)) != 0) {
        throw std::runtime_error("the signals of group " + std::to_string(group) +
                                 " do not fit each other");
    }
    std::vector<ModelSample> samples;
    samples.reserve(times.size());
    for (std::size_t s = 0; s < times.size(); ++s) {
        samples.push_back({times[s], numbers[s]});
        for (std::size_t element = 0; element < width; ++element) {
            if (values[s * width + element] != wide_value(numbers[s], element)) {
                throw std::runtime_error("step " + std::to_string(s) + " of group " +
                                         std::to_string(group) + " has a wrong value");
            }
        }
    }
    return samples;
}

/// The samples of each group.
using Contents = std::array<std::vector<ModelSample>, scriptGroups.size()>;

inline Contents contents_of(const Run& run) {
    Contents contents;
    for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
        contents[g] = content_of(run, g);
    }
    return contents;
}

/// Bit for bit. The ends differ first.
inline bool is_equal(const std::vector<ModelSample>& a, const std::vector<ModelSample>& b) {
    return a.size() == b.size() && (a.empty() || a.back().number == b.back().number) &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](const ModelSample& one, const ModelSample& other) {
                          return one.number == other.number &&
                                 std::memcmp(&one.time, &other.time, sizeof(double)) == 0;
                      });
}

/// The only recording in the directory; empty if there is none yet.
inline std::string recording_in(const std::filesystem::path& directory) {
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        return entry.path().string();
    }
    return {};
}

} // namespace logging2::core::test
