#include <examples/simulate/report/plot_script.hpp>

#include <examples/simulate/report/csv.hpp>

#include <algorithm>
#include <array>
#include <string_view>

namespace simulate {
namespace {

constexpr std::array<const char*, 4> curveColors{"#1b6ca8", "#d1495b", "#2a9d6f", "#8d6a9f"};
constexpr std::array<const char*, 3> eventColors{"#f0b27a", "#8d99a6", "#c39bd3"};
constexpr const char* rejectedColor = "#c00000";

/// Curves of more points would be all dots.
constexpr std::size_t dottedPointLimit = 700;

/// All in pixels.
constexpr double headerHeight = 96;
constexpr double footerHeight = 58;
constexpr double seriesHeight = 200;
constexpr double seriesGap = 38;
constexpr double axisWidth = 92;
constexpr double rightMargin = 28;
constexpr double seriesWidth = 1000;
constexpr double phaseWidth = 640;

struct Size {
    double width;
    double height;
};

/// A panel's axes inside the picture, from the top left corner.
struct Place {
    double left;
    double right;
    double top;
    double bottom;
};

Size size_of(const Plot& plot) {
    const auto rows = static_cast<double>(plot.series.size());
    const double height =
        headerHeight + rows * seriesHeight + (rows - 1) * seriesGap + footerHeight;
    return {plot.phase.empty() ? seriesWidth : 2 * phaseWidth, height};
}

std::string number(double value) {
    std::string text;
    append_number(text, value);
    return text;
}

std::string script_text(std::string_view text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return result + '\'';
}

void append_block(std::string& script, const std::string& name, const std::vector<Point>& points) {
    script += '$' + name + " << EOD\n";
    for (const Point& point : points) {
        append_number(script, point.x);
        script += ' ';
        append_number(script, point.y);
        script += '\n';
    }
    script += "EOD\n";
}

std::string block_name(const std::string& panel, std::size_t curve) {
    return panel + '_' + std::to_string(curve);
}

void append_data(std::string& script, const std::string& name, const Panel& panel) {
    for (std::size_t curve = 0; curve < panel.curves.size(); ++curve) {
        append_block(script, block_name(name, curve), panel.curves[curve].points);
    }
    append_block(script, name + "_rejected", panel.rejected);
}

/// How curves are drawn.
struct Style {
    const char* lines;
    double lineWidth;
    /// Whether a curve of few points shows each of them as a dot: one logged step.
    bool dots;
};

std::string curve_clause(const Panel& panel, const std::string& name, std::size_t curve,
                         const Style& style) {
    const std::string color =
        std::string(" lc rgb '") + curveColors[curve % curveColors.size()] + "'";
    const std::string data = '$' + block_name(name, curve) + " using 1:2 with ";
    const std::string line = data + style.lines + " lw " + number(style.lineWidth) + color +
                             " title " + script_text(panel.curves[curve].title);
    const bool dotted = style.dots && panel.curves[curve].points.size() <= dottedPointLimit;
    return dotted ? line + ", " + data + "points pt 7 ps 0.35" + color + " notitle" : line;
}

std::vector<std::string> event_labels(const Plot& plot) {
    std::vector<std::string> labels;
    for (const Event& event : plot.events) {
        if (std::find(labels.begin(), labels.end(), event.label) == labels.end()) {
            labels.push_back(event.label);
        }
    }
    return labels;
}

std::string event_style(std::size_t label) {
    return std::string(" lw 1 lc rgb '") + eventColors[label % eventColors.size()] + "'";
}

void append_event_marks(std::string& script, const Plot& plot) {
    const std::vector<std::string> labels = event_labels(plot);
    for (const Event& event : plot.events) {
        const auto label = std::find(labels.begin(), labels.end(), event.label) - labels.begin();
        const std::string time = number(event.time);
        script += "set arrow from first " + time + ", graph 0 to first ";
        script += time + ", graph 1 nohead back";
        script += event_style(static_cast<std::size_t>(label)) + '\n';
    }
}

std::string event_keys(const Plot& plot) {
    std::string keys;
    const std::vector<std::string> labels = event_labels(plot);
    for (std::size_t label = 0; label < labels.size(); ++label) {
        keys +=
            ", keyentry with lines" + event_style(label) + " title " + script_text(labels[label]);
    }
    return keys;
}

void append_axes(std::string& script, const Panel& panel, Place place, Size size) {
    script += "set lmargin at screen " + number(place.left / size.width) + '\n';
    script += "set rmargin at screen " + number(place.right / size.width) + '\n';
    script += "set tmargin at screen " + number(1 - place.top / size.height) + '\n';
    script += "set bmargin at screen " + number(1 - place.bottom / size.height) + '\n';
    script += "set xrange [" + number(panel.x.low) + ':' + number(panel.x.high) + "]\n";
    script += "set yrange [" + number(panel.y.low) + ':' + number(panel.y.high) + "]\n";
    script += "set ylabel " + script_text(panel.yLabel) + '\n';
}

/// Says what the dots are, where there are any.
std::string dot_key(const Panel& panel) {
    const bool dotted =
        !panel.curves.empty() && panel.curves.front().points.size() <= dottedPointLimit;
    const std::string key = ", keyentry with points pt 7 ps 0.6 lc rgb '";
    return dotted ? key + curveColors.front() + "' title 'logged step'" : "";
}

/// The extra clauses go into the panel's key, behind its curves.
void append_panel(std::string& script, const Panel& panel, const std::string& name,
                  const Style& style, const std::string& extraKeys) {
    script += "plot ";
    for (std::size_t curve = 0; curve < panel.curves.size(); ++curve) {
        script += (curve == 0 ? "" : ", ") + curve_clause(panel, name, curve, style);
    }
    if (!panel.rejected.empty()) {
        script += ", $" + name + "_rejected using 1:2 with points pt 2 ps 0.9 lw 1.5 lc rgb '" +
                  rejectedColor + "' title 'rejected step'";
    }
    script += extraKeys + '\n';
}

std::string series_name(std::size_t panel) {
    return "series" + std::to_string(panel);
}

/// Only the lowest panel names the time axis that all of them share.
void append_series(std::string& script, const Plot& plot, Size size) {
    append_event_marks(script, plot);
    const double left = size.width - (plot.phase.empty() ? seriesWidth : phaseWidth) + axisWidth;
    for (std::size_t panel = 0; panel < plot.series.size(); ++panel) {
        const bool lowest = panel + 1 == plot.series.size();
        const double top = headerHeight + static_cast<double>(panel) * (seriesHeight + seriesGap);
        append_axes(script, plot.series[panel],
                    {left, size.width - rightMargin, top, top + seriesHeight}, size);
        script += lowest
                      ? "set format x\nset xlabel " + script_text(plot.series[panel].xLabel) + '\n'
                      : std::string("set format x ''\nunset xlabel\n");
        append_panel(script, plot.series[panel], series_name(panel),
                     {plot.held ? "steps" : "lines", 1.2, true},
                     panel == 0 ? dot_key(plot.series[panel]) + event_keys(plot) : "");
        script += "unset label\n";
    }
    script += "unset arrow\n";
}

void append_phase(std::string& script, const Plot& plot, Size size) {
    for (const Panel& panel : plot.phase) {
        append_axes(script, panel,
                    {axisWidth, phaseWidth - rightMargin, headerHeight, size.height - footerHeight},
                    size);
        script += "set xlabel " + script_text(panel.xLabel) + '\n';
        append_panel(script, panel, "phase", Style{"lines", 0.7, false}, "");
        script += "unset label\n";
    }
}

void append_drawing(std::string& script, const Plot& plot, Size size) {
    script += "set multiplot\n";
    script += "set label " + script_text(plot.title) + " at screen 0.5, screen " +
              number(1 - 24 / size.height) + " center font ',15'\n";
    script += "set label " + script_text(plot.subtitle) + " at screen 0.5, screen " +
              number(1 - 48 / size.height) + " center font ',10' tc rgb '#5f6b76'\n";
    append_phase(script, plot, size);
    append_series(script, plot, size);
    script += "unset multiplot\nunset output\n";
}

std::string pixels(Size size, double scale) {
    return number(size.width * scale) + ',' + number(size.height * scale);
}

void append_style(std::string& script) {
    script +=
        "set encoding utf8\n"
        "set border 3 lc rgb '#5f6b76'\n"
        "set tics nomirror out scale 0.6\n"
        "set grid lc rgb '#e6e9ec' lt 1 lw 0.8\n"
        "set key at graph 1, graph 1.02 right bottom horizontal maxrows 1 samplen 2 noenhanced\n"
        "set ylabel offset 0.5,0\n";
}

} // namespace

std::string plot_script(const Plot& plot, const std::string& name) {
    const Size size = size_of(plot);
    std::string script;
    append_style(script);
    for (std::size_t panel = 0; panel < plot.series.size(); ++panel) {
        append_data(script, series_name(panel), plot.series[panel]);
    }
    for (const Panel& panel : plot.phase) {
        append_data(script, "phase", panel);
    }
    script += "set terminal svg noenhanced size " + pixels(size, 1) +
              " font 'DejaVu Sans,12' background rgb 'white'\nset output " +
              script_text(name + ".svg") + '\n';
    append_drawing(script, plot, size);
    script += "set terminal pngcairo noenhanced size " + pixels(size, 1.5) +
              " font 'DejaVu Sans,11' fontscale 1.3 linewidth 1.5\nset output " +
              script_text(name + ".png") + '\n';
    append_drawing(script, plot, size);
    return script;
}

} // namespace simulate
