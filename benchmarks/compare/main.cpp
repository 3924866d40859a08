#include <benchmarks/compare/Plan.hpp>
#include <benchmarks/compare/machine.hpp>
#include <benchmarks/compare/reports.hpp>
#include <benchmarks/process/guarded_main.hpp>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

struct Options {
    PlanOptions plan;
    std::filesystem::path output = "bench";
    std::vector<std::string> workloads;
    std::vector<std::string> questions;
};

bool contains(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// The questions that were asked for, with the workloads that were asked for.
std::vector<Question> chosen_questions(const Options& options) {
    std::vector<Question> chosen;
    for (Question question : all_questions()) {
        if (!options.questions.empty() && !contains(options.questions, question.id)) {
            continue;
        }
        if (!options.workloads.empty()) {
            auto& names = question.workloads;
            names.erase(std::remove_if(names.begin(), names.end(),
                                       [&](const std::string& name) {
                                           return !contains(options.workloads, name);
                                       }),
                        names.end());
        }
        if (!question.workloads.empty()) {
            chosen.push_back(question);
        }
    }
    return chosen;
}

void write_file(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

bool all_verified(const Results& results) {
    return std::all_of(results.begin(), results.end(), [](const auto& entry) {
        return std::all_of(entry.second.begin(), entry.second.end(),
                           [](const Run& run) { return run.isVerified; });
    });
}

int compare(const Options& options) {
    Report report;
    report.facts = machine_facts(options.plan.directory);
    report.questions = chosen_questions(options);
    report.scale = options.plan.scale;
    report.results = run_all(report.questions, options.plan);
    report.outcomes = outcomes_of(all_goals(), report.results);

    std::filesystem::create_directories(options.output);
    const std::string tables = markdown_of(report);
    write_file(options.output / "results.md", tables);
    write_file(options.output / "results.json", json_of(report));
    for (const Question& question : report.questions) {
        write_file(options.output / (question.id + ".gp"), picture_script(report, question));
    }
    fmt::print("{}", tables);
    return all_verified(report.results) ? 0 : 1;
}

int main_of(int argc, char** argv) {
    Options options;
    CLI::App app("Measures the library beside floors and peers.");
    app.add_option("--program", options.plan.program, "Runs one contender")->required();
    app.add_option("--directory", options.plan.directory, "Where all files go")->required();
    app.add_option("--output", options.output, "Where the tables go");
    app.add_option("--scale", options.plan.scale, "Factor for the number of steps");
    app.add_option("--repetitions", options.plan.repetitions)->check(CLI::PositiveNumber);
    app.add_option("--workload", options.workloads, "Only these; may be repeated");
    app.add_option("--question", options.questions, "Only these; may be repeated");
    CLI11_PARSE(app, argc, argv);
    return compare(options);
}

} // namespace
} // namespace logging2::core::bench

int main(int argc, char** argv) {
    using namespace logging2::core::bench;
    return guarded_main(main_of, argc, argv);
}
