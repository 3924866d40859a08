#include <tools/commands/diff_report.hpp>

#include <tools/terminal/json.hpp>

namespace logging2::tools {
namespace {

std::string method_text(Method method) {
    switch (method) {
    case Method::linear:
        return "linear";
    case Method::hold:
        return "hold";
    case Method::exact:
        break;
    }
    return "exact";
}

Json json_of(const Tolerance& tolerance) {
    return {{"absolute", tolerance.absolute},
            {"relative", tolerance.relative},
            {"time", tolerance.time}};
}

Json json_of(const SideSummary& side) {
    return {{"steps", side.stepCount},
            {"firstTime", json_or_null(side.firstTime)},
            {"lastTime", json_or_null(side.lastTime)},
            {"nan", side.nanCount}};
}

Json json_of(const std::optional<Place>& place) {
    if (!place) {
        return {};
    }
    return {{"time", json_number(place->time)},
            {"stepA", json_or_null(place->stepA)},
            {"stepB", json_or_null(place->stepB)}};
}

Json json_of(const SignalComparison& signal) {
    const Comparison& comparison = signal.comparison;
    const ElementComparison& worst = comparison.worst;
    Json result{{"path", signal.path},
                {"differs", comparison.differs()},
                {"method", method_text(signal.method)},
                {"timesAscend", signal.isOrdered},
                {"element", worst.element},
                {"first", json_of(worst.first)},
                {"largest", json_number(worst.largest)},
                {"largestAt", json_or_null(worst.at)},
                {"allowed", worst.allowed},
                {"share", worst.share},
                {"shareOf", signal.method == Method::exact ? "steps" : "time"},
                {"timesDiffer", comparison.hasTimeDifference},
                {"nanDiffers", worst.hasNanDifference},
                {"a", json_of(comparison.a)},
                {"b", json_of(comparison.b)}};
    if (signal.method != Method::exact) {
        result["tolerance"] = json_of(signal.tolerance);
    }
    return result;
}

Json json_of(const std::vector<WidthChange>& changes) {
    Json result = Json::array();
    for (const WidthChange& change : changes) {
        result.push_back(
            {{"path", change.path}, {"widthA", change.widthA}, {"widthB", change.widthB}});
    }
    return result;
}

Json json_of(const std::vector<SignalComparison>& signals) {
    Json result = Json::array();
    for (const SignalComparison& signal : signals) {
        result.push_back(json_of(signal));
    }
    return result;
}

} // namespace

void print_diff_json(const Terminal& terminal, const DiffReport& report) {
    Json json{{"schema", jsonSchema},
              {"a", report.locationA},
              {"b", report.locationB},
              {"method", report.isExact ? "exact" : "tube"},
              {"differs", report.result.differs()},
              {"signalCount", report.result.signalCount()},
              {"differenceCount", report.result.differenceCount()},
              {"missing", report.result.onlyA},
              {"added", report.result.onlyB},
              {"widths", json_of(report.result.widths)},
              {"signals", json_of(report.result.signals)}};
    if (!report.isExact) {
        json["tolerance"] = json_of(report.tolerance);
    }
    print_json(terminal, json);
}

} // namespace logging2::tools
