#include <examples/simulate/report/table.hpp>

#include <examples/simulate/report/samples.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <iomanip>

namespace simulate {
namespace {

constexpr int numberWidth = 13;

/// Eight significant digits; the CSV has them all.
std::string short_number(double value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, 8);
    return {digits.data(), end.ptr};
}

int label_width(const std::vector<GroupResult>& results) {
    std::size_t width = 4;
    for (const GroupResult& result : results) {
        for (const PathInfo& path : result.info.paths) {
            for (std::size_t component = 0; component < path.width(); ++component) {
                width = std::max(width, path.label(component).size());
            }
        }
    }
    return static_cast<int>(width);
}

void print_cells(std::ostream& out, const std::vector<std::string>& cells) {
    for (const std::string& cell : cells) {
        out << std::right << std::setw(numberWidth) << cell;
    }
}

std::string range_end(const std::vector<double>& values, bool largest) {
    if (values.empty()) {
        return "-";
    }
    return short_number(largest ? *std::max_element(values.begin(), values.end())
                                : *std::min_element(values.begin(), values.end()));
}

void print_path(std::ostream& out, int labelWidth, const GroupResult& result, std::size_t path) {
    const PathInfo& info = result.info.paths[path];
    const std::vector<double>& times = result.times;
    for (std::size_t component = 0; component < info.width(); ++component) {
        const auto values = component_of(result.values[path], info.width(), component);
        out << std::left << std::setw(labelWidth) << info.label(component);
        print_cells(out, {std::to_string(times.size()),
                          times.empty() ? "-" : short_number(times.front()),
                          times.empty() ? "-" : short_number(times.back()),
                          range_end(values, false), range_end(values, true)});
        out << "  " << info.components[component].unit << '\n';
    }
}

} // namespace

void print_table(std::ostream& out, const std::vector<GroupResult>& results,
                 const std::string& timeUnit) {
    const int labelWidth = label_width(results);
    out << std::left << std::setw(labelWidth) << "path";
    print_cells(out, {"samples", "first [" + timeUnit + ']', "last [" + timeUnit + ']', "minimum",
                      "maximum"});
    out << "  unit\n";
    for (const GroupResult& result : results) {
        for (std::size_t path = 0; path < result.info.paths.size(); ++path) {
            print_path(out, labelWidth, result, path);
        }
    }
}

void print_summary(std::ostream& out, const RunSummary& summary) {
    const StepCounts& counts = summary.counts;
    const double rate = static_cast<double>(counts.logged) / std::max(summary.seconds, 1e-9);
    out << "steps logged      " << counts.logged << '\n'
        << "steps taken back  " << counts.takenBack << '\n'
        << "rows per second   " << std::fixed << std::setprecision(0) << rate << std::defaultfloat
        << " (solving and logging: " << std::setprecision(3) << summary.seconds << " s)\n";
    if (counts.declined > 0) {
        out << "steps kept        " << counts.declined << " (RollbackNotSupported: the back-end "
            << "cannot undo steps; rejected steps stay in the result)\n";
    }
}

} // namespace simulate
