#include <tools/commands/native.hpp>

#include <tools/native/open_files.hpp>
#include <tools/terminal/Table.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <memory>

namespace logging2::tools {
namespace {

struct NativeListOptions {
    std::string directory;
    bool json = false;
};

Json json_of(std::size_t id, const GroupFiles& files, const std::vector<ChannelLayout>& channels) {
    const StepCounts steps = count_steps(files, channels);
    Json json{{"id", id},
              {"steps", steps.complete},
              {"incompleteSteps", steps.incomplete},
              {"widthsAreCertain", has_certain_widths(files)},
              {"channels", Json::array()}};
    for (const ChannelLayout& channel : channels) {
        json["channels"].push_back({{"id", channel.id}, {"width", channel.width}});
    }
    return json;
}

Json json_of(const LeftOver& leftOver, const OpenFiles& openFiles) {
    Json json{{"name", leftOver.stem},
              {"location", location_of(leftOver)},
              {"user", user_name(leftOver.owner)},
              {"lastChange", utc_text(last_change(leftOver))},
              {"age", std::chrono::duration<double>(age_of(leftOver)).count()},
              {"bytes", byte_count_of(leftOver)},
              {"processes", processes_of(leftOver, openFiles)},
              {"groups", Json::array()}};
    for (const auto& [id, channels] : layout_of(leftOver)) {
        json["groups"].push_back(json_of(id, leftOver.groups.at(id), channels));
    }
    return json;
}

/// "1,000; 20 + 1 incomplete": for each group.
std::string steps_text(const LeftOver& leftOver) {
    std::string text;
    for (const auto& [id, channels] : layout_of(leftOver)) {
        const StepCounts steps = count_steps(leftOver.groups.at(id), channels);
        text += (text.empty() ? "" : "; ") + count_text(steps.complete);
        if (steps.incomplete > 0) {
            text += " + " + count_text(steps.incomplete) + " incomplete";
        }
    }
    return text;
}

std::string processes_text(const std::set<pid_t>& processes) {
    std::string text;
    for (const pid_t process : processes) {
        text += (text.empty() ? "" : ", ") + std::to_string(process);
    }
    return text;
}

std::vector<std::string> cells_of(const LeftOver& leftOver, const OpenFiles& openFiles) {
    return {leftOver.stem.substr(0, 8),
            user_name(leftOver.owner),
            duration_text(age_of(leftOver)),
            count_text(leftOver.groups.size()),
            steps_text(leftOver),
            byte_count_text(byte_count_of(leftOver)),
            processes_text(processes_of(leftOver, openFiles)),
            leftOver.directory};
}

Table table_of(const std::vector<LeftOver>& leftOvers, const OpenFiles& openFiles) {
    using Content = Table::Content;
    Table table({{"NAME"},
                 {"USER", Content::name, 4},
                 {"AGE", Content::number, 6},
                 {"GROUPS", Content::number, 1},
                 {"STEPS", Content::note, 2},
                 {"SIZE", Content::number, 3},
                 {"OPEN IN", Content::note, 5},
                 {"DIRECTORY", Content::name, 0}});
    for (const LeftOver& leftOver : leftOvers) {
        table.add(cells_of(leftOver, openFiles));
    }
    return table;
}

void print_text(const FoundLeftOvers& found, const OpenFiles& openFiles, const Terminal& terminal) {
    if (found.leftOvers.empty()) {
        terminal.error << "There are no left-overs.\n";
    } else {
        table_of(found.leftOvers, openFiles).print(terminal);
    }
    for (const std::string& directory : found.unreadable) {
        terminal.printLine(printable(directory) + ": unreadable");
    }
}

void print_as_json(const FoundLeftOvers& found, const OpenFiles& openFiles,
                   const Terminal& terminal) {
    Json json{{"schema", jsonSchema},
              {"leftOvers", Json::array()},
              {"unreadable", found.unreadable},
              {"isCut", found.isCut}};
    for (const LeftOver& leftOver : found.leftOvers) {
        json["leftOvers"].push_back(json_of(leftOver, openFiles));
    }
    print_json(terminal, json);
}

int list(const NativeListOptions& options, const Terminal& terminal) {
    const FoundLeftOvers found = left_overs_in(options.directory, terminal);
    const OpenFiles openFiles = open_stream_files();
    if (options.json) {
        print_as_json(found, openFiles, terminal);
    } else {
        print_text(found, openFiles, terminal);
    }
    return 0;
}

} // namespace

void add_native_list(CLI::App& native, Action& action) {
    CLI::App* const command = native.add_subcommand(
        "list", "List left-overs, and the processes that have a file of them open");
    const auto options = std::make_shared<NativeListOptions>();
    command->add_option("DIR", options->directory, "See `logging2 native --help`")->type_name("");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return list(*options, terminal); };
    });
}

} // namespace logging2::tools
