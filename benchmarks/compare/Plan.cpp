#include <benchmarks/compare/Plan.hpp>

#include <benchmarks/contenders/catalogue.hpp>

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

namespace logging2::core::bench {
namespace {

/// Contenders that get fewer rows because they are slow are repeated no more often than this.
constexpr std::size_t mostRepetitionsOfSlowOnes = 3;

struct Task {
    std::string contender;
    std::string workload;
    std::size_t repetitions;
};

std::size_t repetitions_of(const Question& question, const std::string& contender) {
    const bool isSlow = contender_named(contender).rowFraction < 1;
    return isSlow ? std::min(question.mostRepetitions, mostRepetitionsOfSlowOnes)
                  : question.mostRepetitions;
}

/// Each pair once, workload by workload, with the most repetitions that a question wants.
std::vector<Task> tasks_of(const std::vector<Question>& questions, std::size_t mostRepetitions) {
    std::vector<Task> tasks;
    std::map<std::pair<std::string, std::string>, std::size_t> known;
    for (const Question& question : questions) {
        for (const std::string& workload : question.workloads) {
            for (const Entry& entry : question.entries) {
                const auto [found, isNew] =
                    known.emplace(std::pair(entry.contender, workload), tasks.size());
                if (isNew) {
                    tasks.push_back({entry.contender, workload, 0});
                }
                std::size_t& repetitions = tasks[found->second].repetitions;
                repetitions = std::max(repetitions, repetitions_of(question, entry.contender));
                repetitions = std::min(repetitions, mostRepetitions);
            }
        }
    }
    return tasks;
}

Run run_task(const Task& task, const PlanOptions& options) {
    const std::filesystem::path directory = options.directory / "run";
    std::filesystem::create_directory(directory);
    Run run =
        run_contender({options.program, task.contender, task.workload, options.scale, directory});
    std::filesystem::remove_all(directory);
    if (!run.isVerified) {
        fmt::print(stderr, "\n{} on {}: {}\n", task.contender, task.workload, run.failure);
    }
    return run;
}

void show_progress(const Task& task, std::size_t repetition, std::size_t done, std::size_t count) {
    fmt::print(stderr, "\rrepetition {}: {} of {} {:<60}", repetition, done, count,
               task.contender + " on " + task.workload);
}

} // namespace

Results run_all(const std::vector<Question>& questions, const PlanOptions& options) {
    std::vector<Task> tasks = tasks_of(questions, options.repetitions);
    const std::size_t stride = tasks.size() / options.repetitions + 1;
    const bool isShown = isatty(STDERR_FILENO) != 0;
    Results results;
    for (std::size_t repetition = 0; repetition < options.repetitions; ++repetition) {
        std::size_t done = 0;
        for (const Task& task : tasks) {
            if (isShown) {
                show_progress(task, repetition + 1, ++done, tasks.size());
            }
            if (repetition < task.repetitions) {
                results[{task.contender, task.workload}].push_back(run_task(task, options));
            }
        }
        std::rotate(tasks.begin(),
                    tasks.begin() + static_cast<std::ptrdiff_t>(stride % tasks.size()),
                    tasks.end());
    }
    if (isShown) {
        fmt::print(stderr, "\r{:<100}\r", "");
    }
    return results;
}

} // namespace logging2::core::bench
