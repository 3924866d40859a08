#include <tools/commands/commands.hpp>

#include <tools/UsageError.hpp>
#include <tools/exporting/NewFiles.hpp>
#include <tools/plotting/gnuplot.hpp>
#include <tools/plotting/plot_script.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/ProgressBar.hpp>
#include <tools/terminal/json.hpp>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t bucketCount = 1000;
constexpr std::size_t greatestPanelCount = 20;
constexpr std::size_t textPanelHeight = 20;
constexpr std::size_t usualTextWidth = 80;

struct PlotOptions {
    RunChoice run;
    SignalChoice signals;
    TimeRange range;
    std::string file;
    bool overlays = false;
    bool json = false;
};

std::string picture_terminal(const fs::path& file, std::size_t panelCount) {
    const std::string size = " size 900," + std::to_string(60 + 240 * panelCount);
    if (file.extension() == ".svg") {
        return "svg" + size + " background 'white'";
    }
    if (file.extension() == ".png") {
        return "pngcairo" + size;
    }
    throw UsageError(file.string() + ": the name of a plot must end with .svg or .png");
}

std::string text_terminal(const Terminal& terminal, std::size_t panelCount) {
    return "dumb size " + std::to_string(terminal.width.value_or(usualTextWidth)) + ',' +
           std::to_string(textPanelHeight * panelCount) + (terminal.hasColors ? " ansi" : " mono");
}

std::vector<Panel> panels_of(const core::Run& run, const std::vector<core::SignalInfo>& signals,
                             const TimeRange& range, bool overlays, const Terminal& terminal) {
    ProgressBar bar(terminal);
    std::size_t doneCount = 0;
    std::vector<Panel> panels;
    for (const core::SignalInfo& signal : signals) {
        bar.show(doneCount++, signals.size());
        Panel curves = curves_of(run, signal, range, bucketCount);
        if (overlays && !panels.empty()) {
            panels.front().insert(panels.front().end(), curves.begin(), curves.end());
        } else if (!curves.empty()) {
            panels.push_back(std::move(curves));
        }
    }
    if (panels.empty()) {
        throw UsageError("the chosen signals have no elements, so there is nothing to plot");
    }
    if (panels.size() > greatestPanelCount) {
        throw UsageError(
            std::to_string(panels.size()) + " signals are too many for one plot; at most " +
            std::to_string(greatestPanelCount) +
            " can be plotted below each other; choose some with PATTERN, or use --overlay");
    }
    return panels;
}

/// The lines without the blanks at their ends and without empty lines before and after them.
std::string trimmed(const std::string& text) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.find_last_not_of(" \f\r") + 1);
        result += result.empty() && line.empty() ? "" : line + '\n';
    }
    result.erase(result.find_last_not_of('\n') + 1);
    return result + '\n';
}

void write_file(const NewFile& file, const std::string& content) {
    std::ofstream stream(file.temporary, std::ios::binary);
    stream << content;
    stream.close();
    if (!stream) {
        throw UsageError(file.target.string() + ": the plot cannot be written");
    }
}

/// The file appears when it is complete.
void draw_file(const std::string& file, const std::vector<Panel>& panels, const TimeRange& range) {
    const InterruptGuard guard;
    NewFiles files({file}, true);
    const PlotStyle style{picture_terminal(file, panels.size()), false, range};
    write_file(files.files().front(), run_gnuplot(plot_script(panels, style)));
    InterruptGuard::check();
    files.publish();
}

void print_as_json(const std::vector<Panel>& panels, const Terminal& terminal) {
    Json curves = Json::array();
    for (const Panel& panel : panels) {
        for (const Curve& curve : panel) {
            Json points = Json::array();
            for (const Point& point : curve.points) {
                points.push_back({json_number(point.time), json_number(point.value)});
            }
            curves.push_back({{"title", curve.title}, {"points", std::move(points)}});
        }
    }
    print_json(terminal, {{"schema", jsonSchema}, {"curves", std::move(curves)}});
}

int plot(const PlotOptions& options, const Terminal& terminal) {
    check_range(options.range, options.run.location);
    if (!options.file.empty()) {
        picture_terminal(options.file, 1);
    }
    const auto run = open_run(options.run);
    const std::vector<core::SignalInfo> signals =
        chosen_signals(*run, options.signals, options.run.location);
    const TimeRange range = plotted_range(*run, signals, options.range);
    const std::vector<Panel> panels = panels_of(*run, signals, range, options.overlays, terminal);
    if (!options.file.empty()) {
        draw_file(options.file, panels, range);
    }
    if (options.json) {
        print_as_json(panels, terminal);
    } else if (options.file.empty()) {
        terminal.out << trimmed(run_gnuplot(
            plot_script(panels, {text_terminal(terminal, panels.size()), true, range})));
    }
    return 0;
}

} // namespace

void add_plot(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "plot", "Draw signals over time, to a file or with characters on the terminal");
    const auto options = std::make_shared<PlotOptions>();
    add_run_options(*command, options->run);
    add_signal_options(*command, options->signals);
    add_time_options(*command, options->range);
    command
        ->add_option(
            "-o,--output", options->file,
            "Draw to this file, whose name ends with .svg or .png; it is replaced if it exists")
        ->type_name("FILE");
    command->add_flag("--overlay", options->overlays,
                      "Draw all signals with the same axes, and not one below the other");
    command->add_flag("--json", options->json, "Print the points that are drawn as JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return plot(*options, terminal); };
    });
}

} // namespace logging2::tools
