#include <benchmarks/compare/reports.hpp>

#include <nlohmann/json.hpp>

namespace logging2::core::bench {
namespace {

using Json = nlohmann::ordered_json;

Json json_of_run(const Run& run) {
    return {{"verified", run.isVerified},
            {"failure", run.failure},
            {"rows", run.rowCount},
            {"bytes", run.byteCount},
            {"lost_rows", run.lostRowCount},
            {"run_ns", run.runTime},
            {"finish_ns", run.finishTime},
            {"outside_ns", run.outsideTime},
            {"run_peak_kib", run.runPeakKib},
            {"finish_peak_kib", run.finishPeakKib},
            {"process_peak_kib", run.processPeakKib}};
}

Json json_of_entry(const Report& report, const Question& question, const Entry& entry,
                   const std::string& workload) {
    const Summary summary = summary_of(report.results, entry, workload, question.unit);
    return {{"workload", workload},
            {"contender", entry.contender},
            {"title", entry.title},
            {"ns", summary.time.median},
            {"ns_lower_quartile", summary.time.low},
            {"ns_upper_quartile", summary.time.high},
            {"bytes_per_second", summary.bytesPerSecond},
            {"peak_kib", summary.peakKib},
            {"lost_rows", summary.lostRowCount}};
}

Json json_of_outcome(const Outcome& outcome) {
    Json workloads = Json::array();
    for (const Reached& reached : outcome.reached) {
        workloads.push_back({{"workload", reached.workload},
                             {"reached", reached.ratio ? Json(*reached.ratio) : Json()},
                             {"lost_rows", reached.lostRows},
                             {"held", reached.isHeld}});
    }
    return {{"line", outcome.goal.line},
            {"goal", outcome.goal.text()},
            {"limit", outcome.goal.limit},
            {"held", outcome.isHeld()},
            {"workloads", workloads}};
}

Json json_of_question(const Report& report, const Question& question) {
    Json entries = Json::array();
    for (const std::string& workload : question.workloads) {
        for (const Entry& entry : question.entries) {
            entries.push_back(json_of_entry(report, question, entry, workload));
        }
    }
    return {{"id", question.id},
            {"title", question.title},
            {"unit", question.unit == Unit::row ? "row" : "value"},
            {"entries", entries}};
}

} // namespace

std::string json_of(const Report& report) {
    Json json{{"facts", Json::object()},
              {"scale", report.scale},
              {"goals", Json::array()},
              {"questions", Json::array()}};
    for (const auto& [name, value] : report.facts) {
        json["facts"][name] = value;
    }
    for (const Outcome& outcome : report.outcomes) {
        json["goals"].push_back(json_of_outcome(outcome));
    }
    for (const Question& question : report.questions) {
        json["questions"].push_back(json_of_question(report, question));
    }
    json["runs"] = Json::array();
    for (const auto& [names, runs] : report.results) {
        Json list = Json::array();
        for (const Run& run : runs) {
            list.push_back(json_of_run(run));
        }
        json["runs"].push_back(
            {{"contender", names.first}, {"workload", names.second}, {"runs", list}});
    }
    return json.dump(2) + "\n";
}

} // namespace logging2::core::bench
