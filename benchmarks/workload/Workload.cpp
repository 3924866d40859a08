#include <benchmarks/workload/Workload.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <regex>
#include <stdexcept>
#include <utility>

namespace logging2::core::bench {
namespace {

GroupShape scalars(std::size_t count) {
    return {std::vector<std::size_t>(count, 1)};
}

/// Returns a random number that is the same on every platform, unlike the distributions of the
/// standard library.
std::size_t draw(std::mt19937_64& source, std::size_t from, std::size_t to) {
    return from + source() % (to - from + 1);
}

/// The two groups are written in turn, so their buffers in the file-backed writer, of 4,194,304
/// rows each, fill on two consecutive calls. The flush writes the remaining steps.
Workload lockstep_workload() {
    constexpr std::size_t stepCount = 4'400'000;
    return {"WL", {scalars(1), scalars(1)}, stepCount, stepCount};
}

Workload random_workload() {
    constexpr std::size_t valueCountWanted = 30'000'000;
    std::mt19937_64 source(20240229);
    Workload workload{"WR", {}, 1, 1};
    workload.groups.resize(draw(source, 3, 9));
    for (GroupShape& group : workload.groups) {
        group.widths.resize(draw(source, 1, 40));
        for (std::size_t& width : group.widths) {
            width = draw(source, 0, 3) == 0 ? draw(source, 2, 9) : 1;
        }
    }
    workload.stepCount = valueCountWanted / workload.valueCount();
    return workload;
}

Workload groups_of_scalars(const std::string& name) {
    static const std::regex pattern("(?:([0-9]+)x)?([0-9]+)x([0-9]+)");
    std::smatch match;
    if (!std::regex_match(name, match, pattern)) {
        throw std::invalid_argument("there is no workload " + name);
    }
    const std::size_t groupCount = match[1].matched ? std::stoul(match[1]) : 1;
    return {name, std::vector<GroupShape>(groupCount, scalars(std::stoul(match[2]))),
            std::stoul(match[3])};
}

} // namespace

std::size_t GroupShape::valueCount() const {
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0});
}

std::size_t Workload::rowCount() const {
    return groups.size() * stepCount;
}

std::size_t Workload::valueCount() const {
    std::size_t perStep = 0;
    for (const GroupShape& group : groups) {
        perStep += group.valueCount();
    }
    return perStep * stepCount;
}

std::size_t Workload::byteCount() const {
    return sizeof(double) * (valueCount() + rowCount());
}

std::size_t Workload::widestRow() const {
    std::size_t widest = 0;
    for (const GroupShape& group : groups) {
        widest = std::max(widest, group.valueCount());
    }
    return widest;
}

std::string Workload::description() const {
    std::size_t channelCount = 0;
    for (const GroupShape& group : groups) {
        channelCount += group.widths.size();
    }
    return fmt::format("{} {}, {} values in {} channels, {} steps", groups.size(),
                       groups.size() == 1 ? "group" : "groups", valueCount() / stepCount,
                       channelCount, stepCount);
}

Workload workload_named(const std::string& name) {
    if (name == "W1") {
        return {name, {scalars(8)}, 4'000'000};
    }
    if (name == "W2") {
        return {name, {scalars(100)}, 300'000};
    }
    if (name == "W3") {
        return {name, std::vector<GroupShape>(10, GroupShape{{1, 1, 1, 1, 1, 3}}), 400'000};
    }
    if (name == "W4") {
        return {name, {scalars(1)}, 10'000'000};
    }
    if (name == "W5") {
        return {name, {scalars(1000)}, 30'000};
    }
    if (name == "WL") {
        return lockstep_workload();
    }
    return name == "WR" ? random_workload() : groups_of_scalars(name);
}

Workload scaled(Workload workload, double factor) {
    const double steps = static_cast<double>(workload.stepCount) * factor;
    workload.stepCount = std::max(workload.leastStepCount, static_cast<std::size_t>(steps));
    return workload;
}

} // namespace logging2::core::bench
