#include <benchmarks/compare/reports.hpp>

#include <benchmarks/compare/Text.hpp>
#include <benchmarks/workload/Workload.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::core::bench {
namespace {

constexpr const char* subjectColour = "0x3060a0";
constexpr const char* otherColour = "0xa8b4c0";
constexpr const char* floorColour = "0xc04020";

/// The library's own contenders stand out.
const char* colour_of(const Entry& entry) {
    return entry.title.find("Stream") != std::string::npos ? subjectColour : otherColour;
}

std::string label_of(const Summary& summary) {
    const double time = summary.time.median;
    const std::string text = time < 100 ? fmt::format("{:.1f}", time) : fmt::format("{:.0f}", time);
    return summary.lostRowCount > 0 ? text + ", rows lost" : text;
}

/// One line per entry: title, median, quartiles, colour, label.
void add_data(Text& text, const std::vector<Entry>& entries,
              const std::vector<Summary>& summaries) {
    add(text, "$data << END\n");
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Spread& time = summaries[i].time;
        add(text, "\"{}\" {} {} {} {} \"{}\"\n", entries[i].title, time.median, time.low, time.high,
            colour_of(entries[i]), label_of(summaries[i]));
    }
    add(text, "END\n");
}

/// A logarithmic axis from below the least to where the label of the longest bar ends.
void add_axis(Text& text, const std::vector<Summary>& summaries) {
    double least = INFINITY;
    double most = 0;
    for (const Summary& summary : summaries) {
        least = std::min(least, summary.time.low);
        most = std::max(most, summary.time.high);
    }
    add(text, "left = {}\nset xrange [left:{}]\n", least / 3, 4 * most);
}

void add_floor_line(Text& text, double floor) {
    add(text,
        "unset arrow\nset arrow from first {0},graph 0 to first {0},graph 1 nohead front "
        "lc rgb {1} dt 2 lw 1.5\n",
        floor, floorColour);
}

void add_panel(Text& text, const Report& report, const Question& question,
               const std::string& workload) {
    std::vector<Summary> summaries;
    double floor = 0;
    for (const Entry& entry : question.entries) {
        summaries.push_back(summary_of(report.results, entry, workload, question.unit));
        floor = entry.contender == question.floor ? summaries.back().time.median : floor;
    }
    add(text, "set title '{}: {}' noenhanced\n", workload,
        scaled(workload_named(workload), report.scale).description());
    add_data(text, question.entries, summaries);
    add_axis(text, summaries);
    add_floor_line(text, floor);
    add(text, "plot $data using 2:0:(left):2:($0-0.36):($0+0.36):5:ytic(1) with boxxyerror "
              "fs solid noborder lc rgb variable, \\\n"
              "  $data using 2:0:3:4 with xerrorbars lc rgb 0x202020 pt 0, \\\n"
              "  $data using 4:0:6 with labels left offset 0.7,0 noenhanced\n");
}

std::string floor_title(const Question& question) {
    for (const Entry& entry : question.entries) {
        if (entry.contender == question.floor) {
            return entry.title;
        }
    }
    return question.floor;
}

std::string bars_script(const Report& report, const Question& question) {
    Text text;
    const std::size_t panelCount = question.workloads.size();
    const std::size_t height = 80 + panelCount * (80 + 22 * question.entries.size());
    add(text, "set terminal svg size 900,{} font 'DejaVu Sans,11' background rgb 'white'\n",
        height);
    add(text, "set output '{}.svg'\n", question.id);
    add(text,
        "set multiplot layout {},1 title \"{}\\n{{/*0.85 nanoseconds per row, medians with "
        "quartiles; the broken line: {}}}\"\n",
        panelCount, question.title, floor_title(question));
    add(text,
        "unset key\nset logscale x\nset yrange [{}:-0.7]\nset lmargin 44\nset grid x\n"
        "set ytics noenhanced scale 0\nset format x '%g'\n",
        static_cast<double>(question.entries.size()) - 0.3);
    for (const std::string& workload : question.workloads) {
        add_panel(text, report, question, workload);
    }
    add(text, "unset multiplot\n");
    return fmt::to_string(text);
}

std::string growth_script(const Report& report, const Question& question) {
    Text text;
    add(text, "set terminal svg size 900,480 font 'DejaVu Sans,11' background rgb 'white'\n");
    add(text, "set output '{}.svg'\nset title '{}'\n", question.id, question.title);
    add(text, "set logscale xy\nset key outside below noenhanced\nset grid\n");
    add(text, "set format x '%.0s%c'\nset format y '%g'\nset ylabel 'ns per {}'\n",
        question.unit == Unit::row ? "row" : "value");
    for (std::size_t i = 0; i < question.entries.size(); ++i) {
        add(text, "$data{} << END\n", i);
        for (const std::string& workload : question.workloads) {
            const Spread time =
                summary_of(report.results, question.entries[i], workload, question.unit).time;
            add(text, "{} {} {} {}\n", changing_size(question, workload, report.scale), time.median,
                time.low, time.high);
        }
        add(text, "END\n");
    }
    add(text, "plot ");
    for (std::size_t i = 0; i < question.entries.size(); ++i) {
        add(text, "$data{} with yerrorlines lw 1.5 title '{}'{}", i, question.entries[i].title,
            i + 1 < question.entries.size() ? ", " : "\n");
    }
    return fmt::to_string(text);
}

} // namespace

std::string picture_script(const Report& report, const Question& question) {
    return question.layout == Layout::bars ? bars_script(report, question)
                                           : growth_script(report, question);
}

} // namespace logging2::core::bench
