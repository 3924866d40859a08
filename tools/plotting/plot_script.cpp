#include <tools/plotting/plot_script.hpp>

#include <tools/terminal/text.hpp>

#include <cmath>

namespace logging2::tools {
namespace {

/// In gnuplot's single quotes, only a quote has a meaning.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : printable(text)) {
        result += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return result + '\'';
}

std::string block_name(std::size_t panel, std::size_t curve) {
    return "$panel" + std::to_string(panel) + "curve" + std::to_string(curve);
}

/// An empty line is a gap of the curve.
std::string data_block(const std::string& name, const Curve& curve) {
    std::string block = name + " << end\n";
    for (const Point& point : curve.points) {
        const bool isFinite = std::isfinite(point.time) && std::isfinite(point.value);
        block += isFinite ? number_text(point.time) + ' ' + number_text(point.value) : "";
        block += '\n';
    }
    return block + "end\n";
}

bool has_point(const Panel& panel) {
    for (const Curve& curve : panel) {
        for (const Point& point : curve.points) {
            if (std::isfinite(point.time) && std::isfinite(point.value)) {
                return true;
            }
        }
    }
    return false;
}

std::string plot_command(const Panel& panel, std::size_t index, bool isText) {
    // A range of values is needed where nothing can be drawn.
    std::string command = has_point(panel) ? "set autoscale y\n" : "set yrange [0:1]\n";
    if (panel.size() == 1) {
        command += (isText ? "set title " : "set ylabel ") + quoted(panel.front().title) + '\n';
        command += "unset key\n";
    } else {
        command += "unset title\nunset ylabel\nset key outside top right horizontal\n";
    }
    if (!has_point(panel)) {
        return command + "plot NaN notitle\n";
    }
    command += "plot ";
    for (std::size_t curve = 0; curve < panel.size(); ++curve) {
        command += (curve == 0 ? "" : ", ") + block_name(index, curve) +
                   " using 1:2 with lines linewidth 1.5 title " + quoted(panel[curve].title);
    }
    return command + '\n';
}

} // namespace

std::string plot_script(const std::vector<Panel>& panels, const PlotStyle& style) {
    std::string script = "set terminal " + style.terminal + "\nset termoption noenhanced\n";
    for (std::size_t panel = 0; panel < panels.size(); ++panel) {
        for (std::size_t curve = 0; curve < panels[panel].size(); ++curve) {
            script += data_block(block_name(panel, curve), panels[panel][curve]);
        }
    }
    const double least = style.range.least();
    const double greatest = style.range.greatest();
    // A single time needs some room on its axis.
    const double margin = least == greatest ? std::max(std::abs(least), 1.0) / 2 : 0.0;
    script += "set xrange [" + number_text(least - margin) + ':' + number_text(greatest + margin) +
              "]\nset grid\nset datafile missing 'nan'\n";
    if (panels.size() > 1) {
        // The same margin for all panels aligns their axes of time.
        script += style.isText ? "" : "set lmargin 12\n";
        script += "set multiplot layout " + std::to_string(panels.size()) + ",1\n";
    }
    for (std::size_t panel = 0; panel < panels.size(); ++panel) {
        script += panel + 1 == panels.size() ? "set xlabel 'time'\n" : "unset xlabel\n";
        script += plot_command(panels[panel], panel, style.isText);
    }
    return script + (panels.size() > 1 ? "unset multiplot\n" : "");
}

} // namespace logging2::tools
