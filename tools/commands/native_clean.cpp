#include <tools/commands/native.hpp>

#include <tools/UsageError.hpp>
#include <tools/native/duration.hpp>
#include <tools/native/file_names.hpp>
#include <tools/native/open_files.hpp>
#include <tools/native/remove_left_over.hpp>
#include <tools/terminal/confirm.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <unistd.h>

#include <algorithm>
#include <memory>

namespace logging2::tools {
namespace {

struct NativeCleanOptions {
    std::vector<std::string> arguments;
    std::string olderThan;
    bool yes = false;
    bool json = false;
};

/// Which left-overs the user wants to remove.
struct CleanChoice {
    std::string directory;
    std::vector<std::string> names;
    std::optional<std::chrono::seconds> olderThan;
};

/// A left-over that was to be removed, and why it was not.
struct KeptLeftOver {
    LeftOver leftOver;
    std::string reason;
};

struct CleanResult {
    std::vector<LeftOver> removed;
    std::vector<KeptLeftOver> kept;
    bool hasFailed = false;
};

CleanChoice choice_of(const NativeCleanOptions& options) {
    CleanChoice choice;
    for (const std::string& argument : options.arguments) {
        if (begins_stem(argument)) {
            choice.names.push_back(argument);
        } else if (&argument == &options.arguments.front()) {
            choice.directory = argument;
        } else {
            throw UsageError(argument +
                             ": this is no name of a left-over, nor its first eight characters");
        }
    }
    if (!options.olderThan.empty()) {
        choice.olderThan = parse_duration(options.olderThan);
        if (!choice.olderThan) {
            throw UsageError("--older-than: \"" + options.olderThan +
                             "\" is no duration such as 90s, 30m, 12h, 7d or 2w");
        }
    }
    if (choice.names.empty() && !choice.olderThan) {
        throw UsageError("name the left-overs to remove, or use --older-than");
    }
    return choice;
}

/// Each name must mean one of the left-overs.
void check_names(const std::vector<std::string>& names, const std::vector<LeftOver>& leftOvers) {
    for (const std::string& name : names) {
        const auto count =
            std::count_if(leftOvers.begin(), leftOvers.end(),
                          [&](const LeftOver& leftOver) { return has_name(leftOver, name); });
        if (count != 1) {
            throw UsageError(name + (count == 0 ? ": you have no left-over of this name"
                                                : ": you have more than one left-over of this "
                                                  "name"));
        }
    }
}

bool is_chosen(const LeftOver& leftOver, const CleanChoice& choice) {
    const bool isNamed =
        choice.names.empty() ||
        std::any_of(choice.names.begin(), choice.names.end(),
                    [&](const std::string& name) { return has_name(leftOver, name); });
    return isNamed && (!choice.olderThan || age_of(leftOver) > *choice.olderThan);
}

std::vector<LeftOver> chosen(const CleanChoice& choice, const Terminal& terminal) {
    std::vector<LeftOver> leftOvers = left_overs_in(choice.directory, terminal).leftOvers;
    const auto keepOnly = [&](const auto& condition) {
        leftOvers.erase(std::remove_if(leftOvers.begin(), leftOvers.end(),
                                       [&](const LeftOver& each) { return !condition(each); }),
                        leftOvers.end());
    };
    keepOnly([](const LeftOver& each) { return each.owner == geteuid(); });
    check_names(choice.names, leftOvers);
    keepOnly([&](const LeftOver& each) { return is_chosen(each, choice); });
    return leftOvers;
}

std::string description_of(const LeftOver& leftOver) {
    const std::size_t fileCount = files_of(leftOver).size();
    return printable(location_of(leftOver)) + ": " + count_text(fileCount) +
           (fileCount == 1 ? " file, " : " files, ") + byte_count_text(byte_count_of(leftOver)) +
           ", last changed " + duration_text(age_of(leftOver)) + " ago";
}

bool is_permitted(const std::vector<LeftOver>& leftOvers, const Terminal& terminal) {
    std::string question;
    for (const LeftOver& leftOver : leftOvers) {
        question += description_of(leftOver) + '\n';
    }
    return confirm(terminal, question + (leftOvers.size() == 1
                                             ? "Remove it?"
                                             : "Remove these " + count_text(leftOvers.size()) +
                                                   " left-overs?"));
}

void remove_or_keep(const LeftOver& leftOver, const OpenFiles& openFiles, CleanResult& result) {
    if (!processes_of(leftOver, openFiles).empty()) {
        result.kept.push_back({leftOver, "a process has it open"});
        return;
    }
    try {
        remove_left_over(leftOver);
        result.removed.push_back(leftOver);
    } catch (const UsageError& error) {
        result.kept.push_back({leftOver, error.what()});
    } catch (const std::system_error& error) {
        result.kept.push_back({leftOver, error.what()});
        result.hasFailed = true;
    }
}

void print_text(const CleanResult& result, const Terminal& terminal) {
    for (const LeftOver& leftOver : result.removed) {
        terminal.printLine("removed: " + description_of(leftOver));
    }
    for (const KeptLeftOver& kept : result.kept) {
        terminal.printLine("kept: " + printable(location_of(kept.leftOver)) + ": " +
                           printable(kept.reason));
    }
    if (result.removed.empty() && result.kept.empty()) {
        terminal.printLine("Nothing was removed.");
    }
}

void print_as_json(const CleanResult& result, const Terminal& terminal) {
    Json json{{"schema", jsonSchema}, {"removed", Json::array()}, {"kept", Json::array()}};
    for (const LeftOver& leftOver : result.removed) {
        json["removed"].push_back({{"name", leftOver.stem},
                                   {"location", location_of(leftOver)},
                                   {"files", files_of(leftOver).size()},
                                   {"bytes", byte_count_of(leftOver)}});
    }
    for (const KeptLeftOver& kept : result.kept) {
        json["kept"].push_back({{"name", kept.leftOver.stem},
                                {"location", location_of(kept.leftOver)},
                                {"reason", kept.reason}});
    }
    print_json(terminal, json);
}

int clean(const NativeCleanOptions& options, const Terminal& terminal) {
    const std::vector<LeftOver> leftOvers = chosen(choice_of(options), terminal);
    CleanResult result;
    if (!leftOvers.empty() && (options.yes || is_permitted(leftOvers, terminal))) {
        const OpenFiles openFiles = open_stream_files();
        for (const LeftOver& leftOver : leftOvers) {
            remove_or_keep(leftOver, openFiles, result);
        }
    }
    if (options.json) {
        print_as_json(result, terminal);
    } else {
        print_text(result, terminal);
    }
    return result.hasFailed ? 2 : 0;
}

} // namespace

void add_native_clean(CLI::App& native, Action& action) {
    CLI::App* const command = native.add_subcommand(
        "clean", "Remove those of your left-overs that you name, or that are old");
    const auto options = std::make_shared<NativeCleanOptions>();
    command
        ->add_option("DIR|NAME", options->arguments, "A directory, and names of left-overs in it")
        ->type_name("");
    command
        ->add_option(
            "--older-than", options->olderThan,
            "Only those that nobody has changed for so long, such as 90s, 30m, 12h, 7d or 2w")
        ->type_name("DURATION");
    command->add_flag("--yes", options->yes, "Do not ask for permission");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return clean(*options, terminal); };
    });
}

} // namespace logging2::tools
