#include <tools/commands/commands.hpp>

#include <tools/commands/RunMonitor.hpp>
#include <tools/commands/describe.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/selection/number_checks.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/Screen.hpp>
#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <poll.h>

#include <memory>
#include <sstream>

namespace logging2::tools {
namespace {

struct WatchOptions {
    RunChoice run;
    SignalChoice signals;
    double interval = 0.5;
    bool json = false;
};

constexpr std::size_t usualWidth = 80;

/// The page's other lines.
constexpr std::size_t headHeight = 5;

std::string head_of(const RunMonitor& monitor, std::size_t width) {
    const core::RunInfo info = monitor.run().info();
    const std::string state =
        std::string("  ") + name_of(info.state) + "  revision " + std::to_string(info.revision);
    const std::size_t room = std::max(width, state.size()) - state.size();
    const auto lag = monitor.lag();
    const std::string counts =
        count_text(monitor.stepCount()) + " steps" +
        (lag ? ", " + count_text(static_cast<std::uint64_t>(monitor.stepsPerSecond())) +
                   " per second, last " + duration_text(*lag) + " ago"
             : "");
    return shortened(printable(info.name.empty() ? "run" : info.name), room) + state + '\n' +
           shortened_after_word(counts, width) + "\n\n";
}

std::string values_text(const std::vector<double>& values) {
    std::string text;
    for (const double value : values) {
        text += (text.empty() ? "" : ", ") + short_number_text(value);
    }
    return text;
}

std::string page_of(const RunMonitor& monitor, std::size_t height) {
    const std::vector<NewestSample> samples = monitor.newest();
    const std::size_t room = height > headHeight + 1 ? height - headHeight - 1 : 1;
    const std::size_t count = std::min(room, samples.size());
    using Content = Table::Content;
    Table table({{"SIGNAL", Content::name},
                 {"STEPS", Content::number, 1},
                 {"TIME", Content::number, 2},
                 {"VALUE", Content::list, 3}});
    for (std::size_t i = 0; i < count; ++i) {
        table.add({samples[i].path, count_text(samples[i].stepCount),
                   samples[i].time ? short_number_text(*samples[i].time) : "",
                   values_text(samples[i].values)});
    }
    std::ostringstream page;
    const Terminal process = Terminal::ofProcess();
    page << head_of(monitor, process.width.value_or(usualWidth));
    table.print({page, process.error, process.width, process.hasColors, false});
    page << (count < samples.size()
                 ? "and " + count_text(samples.size() - count) + " more signals; q quits"
                 : "q quits");
    return page.str();
}

std::chrono::milliseconds interval_of(const WatchOptions& options) {
    return std::chrono::milliseconds(static_cast<long>(options.interval * 1000));
}

int watch_on_screen(RunMonitor& monitor, const WatchOptions& options) {
    const InterruptGuard guard;
    const Screen screen;
    for (;;) {
        InterruptGuard::check();
        Screen::show(page_of(monitor, Screen::height()));
        if (Screen::keyWithin(interval_of(options)).value_or(' ') == 'q') {
            return 0;
        }
        monitor.refresh();
    }
}

Json json_of(const RunMonitor& monitor) {
    const core::RunInfo info = monitor.run().info();
    const auto lag = monitor.lag();
    Json result{{"schema", jsonSchema},
                {"state", name_of(info.state)},
                {"revision", info.revision},
                {"steps", monitor.stepCount()},
                {"stepsPerSecond", monitor.stepsPerSecond()},
                {"lag", lag ? Json(std::chrono::duration<double>(*lag).count()) : Json()},
                {"signals", Json::array()}};
    for (const NewestSample& sample : monitor.newest()) {
        Json values = Json::array();
        for (const double value : sample.values) {
            values.push_back(json_number(value));
        }
        result["signals"].push_back({{"path", sample.path},
                                     {"steps", sample.stepCount},
                                     {"time", sample.time ? json_number(*sample.time) : Json()},
                                     {"values", std::move(values)}});
    }
    return result;
}

/// One line after each interval, until the run has ended.
int watch_as_json(RunMonitor& monitor, const WatchOptions& options, const Terminal& terminal) {
    const InterruptGuard guard;
    for (;;) {
        terminal.out << json_of(monitor).dump(-1, ' ', false, Json::error_handler_t::replace)
                     << std::endl;
        if (!terminal.out || monitor.run().info().state != core::RunState::running) {
            return 0;
        }
        // Unlike a sleep of the thread, a signal ends this one.
        poll(nullptr, 0, static_cast<int>(interval_of(options).count()));
        InterruptGuard::check();
        monitor.refresh();
    }
}

int watch(const WatchOptions& options, const Terminal& terminal) {
    RunMonitor monitor(recording_of(options.run), options.signals);
    return options.json ? watch_as_json(monitor, options, terminal)
                        : watch_on_screen(monitor, options);
}

} // namespace

void add_watch(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "watch", "Show the newest values of a run while it grows; the key q quits");
    const auto options = std::make_shared<WatchOptions>();
    add_run_options(*command, options->run);
    add_signal_options(*command, options->signals);
    command->add_option("--interval", options->interval, "Seconds between two looks, 0.01 to 3600")
        ->type_name("S")
        ->check(between(0.01, 3600))
        ->capture_default_str();
    command->add_flag("--json", options->json,
                      "Print a line of JSON at each look, until the run has ended");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return watch(*options, terminal); };
    });
}

} // namespace logging2::tools
