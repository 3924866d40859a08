#include <tools/commands/commands.hpp>

#include <tools/commands/describe.hpp>
#include <tools/terminal/ProgressBar.hpp>
#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct ListOptions {
    std::string directory;
    bool json = false;
};

/// The sizes of a run.
struct Counts {
    std::size_t groups = 0;
    std::size_t signals = 0;
    std::size_t steps = 0;
};

/// A recording and what can be found out about it.
struct ListedRun {
    core::RecordingEntry entry;
    Counts counts;
};

ListedRun listed(core::RecordingEntry entry) {
    ListedRun result{std::move(entry), {}};
    if (!result.entry.fault.empty()) {
        return result;
    }
    try {
        const auto run = core::open_recording(result.entry.location);
        const std::vector<core::GroupInfo> groups = run->groups();
        result.counts = {groups.size(), run->signals().size(), 0};
        for (const core::GroupInfo& group : groups) {
            result.counts.steps += group.stepCount;
        }
    } catch (const core::RecordingError& error) {
        result.entry.fault = error.what();
    }
    return result;
}

std::vector<ListedRun> runs_in(const std::string& directory, const Terminal& terminal) {
    ProgressBar bar(terminal);
    std::vector<core::RecordingEntry> entries = core::list_recordings(directory);
    std::vector<ListedRun> runs;
    for (core::RecordingEntry& entry : entries) {
        bar.show(runs.size(), entries.size());
        runs.push_back(listed(std::move(entry)));
    }
    return runs;
}

Json json_of(const ListedRun& run) {
    const core::RecordingEntry& entry = run.entry;
    if (!entry.fault.empty()) {
        return {{"id", entry.info.id},  {"name", entry.info.name},
                {"state", "damaged"},   {"location", entry.location},
                {"fault", entry.fault}, {"bytes", file_byte_count(entry.location)}};
    }
    Json result = run_json(entry.info, entry.location);
    result["groups"] = run.counts.groups;
    result["signals"] = run.counts.signals;
    result["steps"] = run.counts.steps;
    return result;
}

std::vector<std::string> cells_of(const ListedRun& run) {
    const core::RecordingEntry& entry = run.entry;
    const std::string size = byte_count_text(file_byte_count(entry.location));
    const std::string directory = entry.location.substr(entry.location.rfind('/') + 1);
    if (!entry.fault.empty()) {
        return {"", "", "damaged", "", "", "", "", "", size, directory};
    }
    const auto duration = duration_of(entry.info);
    return {entry.info.name,
            entry.info.id.substr(0, 8),
            name_of(entry.info.state),
            local_time_text(entry.info.start),
            duration ? duration_text(*duration) : "",
            count_text(run.counts.groups),
            count_text(run.counts.signals),
            count_text(run.counts.steps),
            size,
            directory};
}

int list(const ListOptions& options, const Terminal& terminal) {
    const std::vector<ListedRun> runs = runs_in(options.directory, terminal);
    if (options.json) {
        Json result{{"schema", jsonSchema}, {"runs", Json::array()}};
        for (const ListedRun& run : runs) {
            result["runs"].push_back(json_of(run));
        }
        print_json(terminal, result);
        return 0;
    }
    if (runs.empty()) {
        terminal.error << printable(options.directory) << ": there are no recordings\n";
        return 0;
    }
    using Content = Table::Content;
    Table table({{"NAME", Content::name},
                 {"ID", Content::word, 8},
                 {"STATE", Content::word, 7},
                 {"START", Content::word, 6},
                 {"DURATION", Content::number, 3},
                 {"GROUPS", Content::number, 1},
                 {"SIGNALS", Content::number, 2},
                 {"STEPS", Content::number, 5},
                 {"SIZE", Content::number, 4},
                 {"DIRECTORY", Content::name, 0}});
    for (const ListedRun& run : runs) {
        table.add(cells_of(run));
    }
    table.print(terminal);
    for (const ListedRun& run : runs) {
        if (!run.entry.fault.empty()) {
            terminal.error << "logging2: " << printable(run.entry.fault) << '\n';
        }
    }
    return 0;
}

} // namespace

void add_list(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand("list", "List the recordings in a directory");
    const auto options = std::make_shared<ListOptions>();
    command->add_option("DIR", options->directory, "A directory of recordings")
        ->required()
        ->type_name("");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return list(*options, terminal); };
    });
}

} // namespace logging2::tools
