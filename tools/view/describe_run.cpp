#include <tools/view/describe_run.hpp>

#include <tools/commands/describe.hpp>
#include <tools/terminal/text.hpp>
#include <tools/view/signals.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>

namespace logging2::tools::view {
namespace {

Json json_of(const core::Run& run, std::uint64_t revision,
             const std::vector<core::GroupInfo>& groups, TimeExtents& extents) {
    Json result = Json::array();
    const std::vector<core::SignalInfo> signals = run.signals();
    const std::map<std::size_t, const core::SignalInfo*> narrowest = narrowest_signals(signals);
    for (const core::GroupInfo& group : groups) {
        const auto signal = narrowest.find(group.id);
        const std::optional<TimeExtent> extent =
            extents.of(run, revision, group, signal == narrowest.end() ? nullptr : signal->second);
        result.push_back({{"id", group.id},
                          {"steps", group.stepCount},
                          {"firstTime", json_or_null(group.firstTime)},
                          {"lastTime", json_or_null(group.lastTime)},
                          {"leastTime", extent ? Json(extent->least) : Json()},
                          {"greatestTime", extent ? Json(extent->greatest) : Json()}});
    }
    return result;
}

/// How many seconds ago something was written to the recording; null if it has ended.
Json lag_of(const core::RunInfo& info, const std::string& location) {
    namespace fs = std::filesystem;
    if (info.state != core::RunState::running) {
        return {};
    }
    fs::file_time_type last = fs::file_time_type::min();
    for (const char* const name : {"/samples.bin", "/index.sqlite-wal"}) {
        std::error_code error;
        const fs::file_time_type time = fs::last_write_time(location + name, error);
        last = error ? last : std::max(last, time);
    }
    const double lag =
        std::chrono::duration<double>(fs::file_time_type::clock::now() - last).count();
    return std::max(0.0, lag);
}

} // namespace

Json run_progress(const std::string& id, const core::Run& run, const std::string& location,
                  TimeExtents& extents) {
    const core::RunInfo info = run.info();
    const std::vector<core::GroupInfo> groups = run.groups();
    std::size_t stepCount = 0;
    for (const core::GroupInfo& group : groups) {
        stepCount += group.stepCount;
    }
    return {{"id", id},
            {"state", name_of(info.state)},
            {"revision", info.revision},
            {"lag", lag_of(info, location)},
            {"steps", stepCount},
            {"groups", json_of(run, info.revision, groups, extents)}};
}

Json run_description(const std::string& id, const core::Run& run, const std::string& location) {
    const core::RunInfo info = run.info();
    Json result{{"schema", jsonSchema}};
    TimeExtents extents;
    result.update(run_progress(id, run, location, extents));
    result["name"] = info.name;
    result["start"] = utc_text(info.start);
    result["end"] = info.end ? Json(utc_text(*info.end)) : Json();
    result["properties"] = info.properties;
    result["signals"] = Json::array();
    for (const core::SignalInfo& signal : run.signals()) {
        result["signals"].push_back({{"path", name_of(signal)},
                                     {"group", signal.group},
                                     {"channel", signal.channel},
                                     {"width", signal.width}});
    }
    return result;
}

} // namespace logging2::tools::view
