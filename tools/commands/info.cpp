#include <tools/commands/commands.hpp>

#include <tools/commands/describe.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct InfoOptions {
    RunChoice run;
    bool json = false;
};

Json json_of(const core::GroupInfo& group) {
    return {{"id", group.id},
            {"steps", group.stepCount},
            {"firstTime", group.firstTime ? json_number(*group.firstTime) : Json()},
            {"lastTime", group.lastTime ? json_number(*group.lastTime) : Json()}};
}

void print_as_json(const core::Run& run, const std::string& location, const Terminal& terminal) {
    const core::RunInfo info = run.info();
    Json result{{"schema", jsonSchema}};
    result.update(run_json(info, location));
    result["revision"] = info.revision;
    result["host"] = info.host;
    result["process"] = info.process;
    result["libraryVersion"] = info.libraryVersion;
    result["properties"] = info.properties;
    result["groups"] = Json::array();
    for (const core::GroupInfo& group : run.groups()) {
        result["groups"].push_back(json_of(group));
    }
    result["signals"] = Json::array();
    for (const core::SignalInfo& signal : run.signals()) {
        result["signals"].push_back(signal_json(signal, run.summary(signal.path)));
    }
    print_json(terminal, result);
}

void print_line(const Terminal& terminal, const std::string& name, const std::string& value) {
    terminal.printLine(name + ':' + std::string(name.size() < 11 ? 11 - name.size() : 1, ' ') +
                       printable(value));
}

void print_run(const core::RunInfo& info, const std::string& location, const Terminal& terminal) {
    const auto duration = duration_of(info);
    print_line(terminal, "location", location);
    print_line(terminal, "name", info.name);
    print_line(terminal, "id", info.id);
    print_line(terminal, "state", name_of(info.state));
    print_line(terminal, "start", local_time_text(info.start));
    print_line(terminal, "end", info.end ? local_time_text(*info.end) : "unknown");
    print_line(terminal, "duration", duration ? duration_text(*duration) : "unknown");
    print_line(terminal, "revision", count_text(info.revision));
    print_line(terminal, "size", byte_count_text(file_byte_count(location)));
    print_line(terminal, "host", info.host);
    print_line(terminal, "process", info.process);
    print_line(terminal, "library", "logging2 " + info.libraryVersion);
    for (const auto& [name, value] : info.properties) {
        terminal.printLine("property " + printable(name) + " = " + printable(value));
    }
}

Table group_table(const core::Run& run) {
    using Content = Table::Content;
    Table table({{"GROUP", Content::number},
                 {"STEPS", Content::number},
                 {"FIRST TIME", Content::number},
                 {"LAST TIME", Content::number}});
    for (const core::GroupInfo& group : run.groups()) {
        table.add({std::to_string(group.id), count_text(group.stepCount),
                   group.firstTime ? number_text(*group.firstTime) : "",
                   group.lastTime ? number_text(*group.lastTime) : ""});
    }
    return table;
}

Table signal_table(const core::Run& run) {
    using Content = Table::Content;
    Table table({{"SIGNAL", Content::name},
                 {"GROUP", Content::number, 3},
                 {"CHANNEL", Content::number, 1},
                 {"WIDTH", Content::number, 4},
                 {"STEPS", Content::number, 6},
                 {"NAN", Content::number, 2},
                 {"SIZE", Content::number, 5}});
    for (const core::SignalInfo& signal : run.signals()) {
        const core::SignalSummary summary = run.summary(signal.path);
        std::size_t nanCount = 0;
        for (const std::size_t count : summary.nanCount) {
            nanCount += count;
        }
        table.add({signal.path.text(), std::to_string(signal.group), std::to_string(signal.channel),
                   count_text(signal.width), count_text(summary.sampleCount), count_text(nanCount),
                   byte_count_text(summary.byteCount)});
    }
    return table;
}

void print_as_text(const core::Run& run, const std::string& location, const Terminal& terminal) {
    // Before anything is printed, because reading a damaged run may fail.
    const std::vector<Table> tables{group_table(run), signal_table(run)};
    print_run(run.info(), location, terminal);
    for (const Table& table : tables) {
        terminal.out << '\n';
        table.print(terminal);
    }
}

int info(const InfoOptions& options, const Terminal& terminal) {
    const std::string location = recording_of(options.run);
    const auto run = core::open_recording(location);
    if (options.json) {
        print_as_json(*run, location, terminal);
        return 0;
    }
    print_as_text(*run, location, terminal);
    return 0;
}

} // namespace

void add_info(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand("info", "Show all that is known about a run");
    const auto options = std::make_shared<InfoOptions>();
    add_run_options(*command, options->run);
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return info(*options, terminal); };
    });
}

} // namespace logging2::tools
