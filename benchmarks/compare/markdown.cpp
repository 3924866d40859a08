#include <benchmarks/compare/reports.hpp>

#include <benchmarks/compare/Text.hpp>
#include <benchmarks/contenders/catalogue.hpp>
#include <benchmarks/workload/Workload.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::core::bench {
namespace {

std::string ratio(double numerator, double denominator) {
    return denominator > 0 ? fmt::format("{:.2f}", numerator / denominator) : "";
}

std::string peak(const Summary& summary, const Entry& entry) {
    const bool saysNothing = contender_named(entry.contender).preparesData;
    return saysNothing ? "" : fmt::format("{}", summary.peakKib / 1024);
}

std::string remarks(const Summary& summary, std::size_t fullRowCount) {
    std::string text;
    if (summary.verifiedCount < summary.runCount) {
        text += fmt::format("{} of {} runs FAILED; ", summary.runCount - summary.verifiedCount,
                            summary.runCount);
    }
    if (summary.lostRowCount > 0) {
        text += fmt::format("LOST {} rows; ", summary.lostRowCount);
    }
    if (summary.verifiedCount > 0 && summary.rowCount < fullRowCount) {
        text += fmt::format("{} rows only; ", summary.rowCount);
    }
    return text.substr(0, text.size() - std::min<std::size_t>(text.size(), 2));
}

void add_bars(Text& text, const Report& report, const Question& question) {
    for (const std::string& name : question.workloads) {
        const Workload workload = scaled(workload_named(name), report.scale);
        add(text, "\n### {}: {}\n\n", name, workload.description());
        add(text, "| | ns per row | quartiles | MB/s | peak MiB | first line ÷ this | remarks |\n");
        add(text, "|---|---:|---:|---:|---:|---:|---|\n");
        const double subject =
            summary_of(report.results, question.entries[0], name, question.unit).time.median;
        for (const Entry& entry : question.entries) {
            const Summary summary = summary_of(report.results, entry, name, question.unit);
            add(text, "| {} | {:.1f} | {:.1f} to {:.1f} | {:.0f} | {} | {} | {} |\n", entry.title,
                summary.time.median, summary.time.low, summary.time.high,
                summary.bytesPerSecond / 1e6, peak(summary, entry),
                ratio(subject, summary.time.median), remarks(summary, workload.rowCount()));
        }
    }
}

void add_growth(Text& text, const Report& report, const Question& question) {
    const bool perRow = question.unit == Unit::row;
    add(text, "\n| ns per {}; number of {}: |", perRow ? "row" : "value",
        perRow ? "rows" : "channels");
    for (const std::string& name : question.workloads) {
        add(text, " {} |", changing_size(question, name, report.scale));
    }
    add(text, " largest ÷ smallest | remarks |\n|---|");
    for (std::size_t i = 0; i <= question.workloads.size(); ++i) {
        add(text, "---:|");
    }
    add(text, "---|\n");
    for (const Entry& entry : question.entries) {
        double least = INFINITY;
        double most = 0;
        std::string remark;
        add(text, "| {} |", entry.title);
        for (const std::string& name : question.workloads) {
            const Summary summary = summary_of(report.results, entry, name, question.unit);
            add(text, " {:.2f} |", summary.time.median);
            least = std::min(least, summary.time.median);
            most = std::max(most, summary.time.median);
            if (const std::string one = remarks(summary, 0); !one.empty()) {
                remark += fmt::format("{}: {} ", name, one);
            }
        }
        add(text, " {} | {} |\n", ratio(most, least), remark);
    }
}

std::string reached_text(const Outcome& outcome) {
    Text text;
    for (const Reached& reached : outcome.reached) {
        const std::string value = reached.ratio ? fmt::format("{:.2f}", *reached.ratio) : "FAILED";
        add(text, "{}{} {}{}", text.size() == 0 ? "" : ", ", reached.workload,
            reached.isHeld ? value : fmt::format("**{}**", value),
            reached.lostRows ? " (LOST rows)" : "");
    }
    return fmt::to_string(text);
}

void add_goals(Text& text, const Report& report) {
    add(text, "\n## What is promised and what was reached\n\n"
              "| line | goal | reached | |\n|---|---|---|---|\n");
    for (const Outcome& outcome : report.outcomes) {
        add(text, "| {} | {} | {} | {} |\n", outcome.goal.line, outcome.goal.text(),
            reached_text(outcome), outcome.isHeld() ? "held" : "missed");
    }
}

/// How far the clocks outside and inside the processes are apart, at worst.
std::string clock_difference(const Results& results) {
    double worst = 0;
    for (const auto& entry : results) {
        for (const Run& run : entry.second) {
            const double inside = run.runTime + run.finishTime;
            if (run.isVerified && inside > 1e8) {
                worst = std::max(worst, std::abs(run.outsideTime / inside - 1));
            }
        }
    }
    return fmt::format("{:.1f} %", 100 * worst);
}

std::string verification(const Results& results) {
    std::size_t total = 0;
    std::size_t verified = 0;
    for (const auto& entry : results) {
        for (const Run& run : entry.second) {
            ++total;
            verified += run.isVerified ? 1 : 0;
        }
    }
    return fmt::format("{} of {}", verified, total);
}

} // namespace

std::string markdown_of(const Report& report) {
    Text text;
    add(text, "# What logging costs\n\n| | |\n|---|---|\n");
    for (const auto& [name, value] : report.facts) {
        add(text, "| {} | {} |\n", name, value);
    }
    add(text, "| steps | {} of each workload's |\n", report.scale);
    add(text, "| runs whose rows were read back and compared | {} |\n",
        verification(report.results));
    add(text, "| clock outside the processes beside the one inside, from 0.1 s on | within {} |\n",
        clock_difference(report.results));
    add_goals(text, report);
    for (const Question& question : report.questions) {
        add(text, "\n## {}\n", question.title);
        question.layout == Layout::bars ? add_bars(text, report, question)
                                        : add_growth(text, report, question);
    }
    return fmt::to_string(text);
}

} // namespace logging2::core::bench
