#include <tools/view/values.hpp>

#include <tools/compare/Extent.hpp>
#include <tools/view/signals.hpp>

#include <cmath>

namespace logging2::tools::view {
namespace {

Json json_of_step(const core::Run& run, const core::SignalInfo& signal, std::size_t step) {
    const core::Series series = run.series(signal.path, core::StepRange{step, 1});
    Json values = Json::array();
    for (const double value : series.values()) {
        values.push_back(json_number(value));
    }
    return {{"step", step}, {"time", json_number(series.times()[0])}, {"values", values}};
}

Json json_of_signal(const core::Run& run, const core::SignalInfo& signal, double time) {
    const core::StepRange before = run.steps(signal.group, -infinity, time);
    const core::StepRange after = run.steps(signal.group, std::nextafter(time, infinity), infinity);
    return {{"signal", signal.path.text()},
            {"before", before.count > 0 ? json_of_step(run, signal, before.first + before.count - 1)
                                        : Json()},
            {"after", after.count > 0 ? json_of_step(run, signal, after.first) : Json()}};
}

} // namespace

Json values_at(const core::Run& run, const std::vector<std::string>& signals, double time) {
    Json values = Json::array();
    for (const std::string& signal : signals) {
        values.push_back(json_of_signal(run, signal_of(run, signal), time));
    }
    return {{"schema", jsonSchema}, {"values", values}};
}

} // namespace logging2::tools::view
