#include <tools/commands/describe.hpp>

#include <tools/terminal/text.hpp>

#include <algorithm>
#include <filesystem>

namespace logging2::tools {
namespace {

Json json_of(const std::vector<double>& values) {
    Json result = Json::array();
    std::transform(values.begin(), values.end(), std::back_inserter(result), json_number);
    return result;
}

} // namespace

std::optional<std::chrono::system_clock::duration> duration_of(const core::RunInfo& info) {
    if (info.end) {
        return *info.end - info.start;
    }
    if (info.state == core::RunState::running) {
        return std::chrono::system_clock::now() - info.start;
    }
    return std::nullopt;
}

std::uint64_t file_byte_count(const std::string& location) {
    namespace fs = std::filesystem;
    std::uint64_t result = 0;
    std::error_code error;
    for (fs::directory_iterator entry(location, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code ignored;
        const std::uintmax_t size = entry->file_size(ignored);
        result += ignored ? 0 : size;
    }
    return result;
}

ValueRange value_range_of(const core::SignalSummary& summary) {
    ValueRange result;
    for (std::size_t element = 0; element < summary.least.size(); ++element) {
        if (summary.least[element] <= summary.greatest[element]) {
            result.least =
                std::min(result.least.value_or(summary.least[element]), summary.least[element]);
            result.greatest = std::max(result.greatest.value_or(summary.greatest[element]),
                                       summary.greatest[element]);
        }
    }
    return result;
}

Json run_json(const core::RunInfo& info, const std::string& location) {
    const auto duration = duration_of(info);
    return {
        {"id", info.id},
        {"name", info.name},
        {"state", name_of(info.state)},
        {"location", location},
        {"start", utc_text(info.start)},
        {"end", info.end ? Json(utc_text(*info.end)) : Json()},
        {"duration", duration ? Json(std::chrono::duration<double>(*duration).count()) : Json()},
        {"bytes", file_byte_count(location)}};
}

Json signal_json(const core::SignalInfo& signal, const core::SignalSummary& summary) {
    return {{"path", signal.path.text()},
            {"group", signal.group},
            {"channel", signal.channel},
            {"width", signal.width},
            {"steps", summary.sampleCount},
            {"leastTime", json_or_null(summary.leastTime)},
            {"greatestTime", json_or_null(summary.greatestTime)},
            {"least", json_of(summary.least)},
            {"greatest", json_of(summary.greatest)},
            {"nan", summary.nanCount},
            {"bytes", summary.byteCount}};
}

} // namespace logging2::tools
