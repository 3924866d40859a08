#include <tools/view/values.hpp>

#include <tools/compare/Extent.hpp>
#include <tools/view/signals.hpp>

#include <cmath>
#include <limits>

namespace logging2::tools::view {
namespace {

constexpr double greatestTime = std::numeric_limits<double>::max();

Json json_of_step(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                  std::size_t step) {
    const core::Series series = run.series(signal.path, core::StepRange{step, 1});
    return {{"step", step},
            {"time", json_number(series.times()[0])},
            {"value", json_number(series.values()[element])}};
}

Json json_of_element(const core::Run& run, const core::SignalInfo& signal, std::size_t element,
                     double time) {
    check_element(signal, element);
    const core::StepRange before = run.steps(signal.group, -greatestTime, time);
    const core::StepRange after =
        run.steps(signal.group, std::nextafter(time, infinity), greatestTime);
    const auto stepOrNull = [&](bool exists, std::size_t step) {
        return exists ? json_of_step(run, signal, element, step) : Json();
    };
    return {{"signal", name_of(signal)},
            {"element", element},
            {"before", stepOrNull(before.count > 0, before.first + before.count - 1)},
            {"after", stepOrNull(after.count > 0, after.first)}};
}

} // namespace

Json values_at(const core::Run& run, const std::vector<ElementName>& elements, double time) {
    const std::vector<core::SignalInfo> all = run.signals();
    Json values = Json::array();
    for (const auto& [signal, element] : elements) {
        values.push_back(json_of_element(run, signal_in(all, signal), element, time));
    }
    return {{"schema", jsonSchema}, {"values", values}};
}

} // namespace logging2::tools::view
