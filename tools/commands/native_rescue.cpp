#include <tools/commands/native.hpp>

#include <tools/UsageError.hpp>
#include <tools/native/file_names.hpp>
#include <tools/native/rescue_left_over.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>

namespace logging2::tools {
namespace {

struct NativeRescueOptions {
    std::string leftOver;
    std::string setup;
    NewRecording rescued;
    bool json = false;
};

/// What a rescue has found in a group.
struct RescuedGroup {
    std::size_t id = 0;
    StepCounts steps;
    bool hasCertainWidths = true;
};

bool is_complete(const std::vector<RescuedGroup>& groups) {
    return std::all_of(groups.begin(), groups.end(), [](const RescuedGroup& group) {
        return group.steps.incomplete == 0 && group.hasCertainWidths;
    });
}

/// The user's own one, if files of other users have the same name.
LeftOver only_one(std::vector<LeftOver> leftOvers, const std::string& name) {
    if (leftOvers.empty()) {
        throw UsageError(name + ": there is no left-over of this name");
    }
    if (leftOvers.size() > 1) {
        throw UsageError(name + ": there is more than one left-over of this name");
    }
    return std::move(leftOvers.front());
}

std::vector<LeftOver> own_if_any(std::vector<LeftOver> leftOvers) {
    const auto end =
        std::stable_partition(leftOvers.begin(), leftOvers.end(),
                              [](const LeftOver& leftOver) { return leftOver.owner == geteuid(); });
    if (end != leftOvers.begin()) {
        leftOvers.erase(end, leftOvers.end());
    }
    return leftOvers;
}

LeftOver left_over_of(const std::string& location, const Terminal& terminal) {
    const std::size_t separator = location.rfind('/');
    const std::string name = location.substr(separator + 1);
    if (!begins_stem(name)) {
        throw UsageError(location + ": this is no name of a left-over, nor its first eight "
                                    "characters");
    }
    const std::string directory = separator == std::string::npos
                                      ? ""
                                      : location.substr(0, std::max<std::size_t>(1, separator));
    std::vector<LeftOver> leftOvers = left_overs_in(directory, terminal).leftOvers;
    leftOvers.erase(
        std::remove_if(leftOvers.begin(), leftOvers.end(),
                       [&](const LeftOver& leftOver) { return !has_name(leftOver, name); }),
        leftOvers.end());
    return only_one(own_if_any(std::move(leftOvers)), location);
}

Layout layout_from(const std::string& setup, const LeftOver& leftOver) {
    if (setup.empty()) {
        return layout_of(leftOver);
    }
    std::ifstream file(setup, std::ios::binary);
    if (!file) {
        throw UsageError(setup + ": cannot be opened");
    }
    try {
        Layout layout = read_layout(file);
        check_layout(layout, leftOver);
        return layout;
    } catch (const UsageError& error) {
        throw UsageError(setup + ": " + error.what());
    }
}

std::vector<RescuedGroup> rescued(const LeftOver& leftOver, const NativeRescueOptions& options,
                                  const Terminal& terminal) {
    const Layout layout = layout_from(options.setup, leftOver);
    const InterruptGuard guard;
    ProgressBar bar(terminal);
    std::vector<RescuedGroup> groups;
    for (const auto& [id, steps] :
         rescue_left_over(leftOver, layout, options.rescued, progress_of(bar))) {
        const bool isCertain = !options.setup.empty() || has_certain_widths(leftOver.groups.at(id));
        groups.push_back({id, steps, isCertain});
    }
    return groups;
}

void print_text(const std::vector<RescuedGroup>& groups, const std::string& location,
                const Terminal& terminal) {
    std::uint64_t stepCount = 0;
    for (const RescuedGroup& group : groups) {
        stepCount += group.steps.complete;
        if (group.steps.incomplete > 0) {
            terminal.printLine("lost: " + count_text(group.steps.incomplete) + " steps of group " +
                               std::to_string(group.id) + ", from step " +
                               std::to_string(group.steps.complete) +
                               " on, which are not in all files");
        }
        if (!group.hasCertainWidths) {
            terminal.printLine("guessed: the widths of the channels of group " +
                               std::to_string(group.id) +
                               ", because its files are not of the same steps; --setup tells them");
        }
    }
    terminal.printLine(printable(location) + ": " + count_text(stepCount) +
                       " steps, also those that the host rejected" +
                       (is_complete(groups) ? "; nothing in the files is lost" : ""));
}

void print_as_json(const std::vector<RescuedGroup>& groups, const std::string& location,
                   const Terminal& terminal) {
    Json json{{"schema", jsonSchema},
              {"location", location},
              {"state", is_complete(groups) ? "complete" : "incomplete"},
              {"groups", Json::array()}};
    for (const RescuedGroup& group : groups) {
        json["groups"].push_back({{"id", group.id},
                                  {"steps", group.steps.complete},
                                  {"lostSteps", group.steps.incomplete},
                                  {"widthsAreCertain", group.hasCertainWidths}});
    }
    print_json(terminal, json);
}

int rescue(const NativeRescueOptions& options, const Terminal& terminal) {
    const LeftOver leftOver = left_over_of(options.leftOver, terminal);
    const std::vector<RescuedGroup> groups = rescued(leftOver, options, terminal);
    if (options.json) {
        print_as_json(groups, options.rescued.location, terminal);
    } else {
        print_text(groups, options.rescued.location, terminal);
    }
    return is_complete(groups) ? 0 : 1;
}

constexpr const char* rescueFooter =
    "\nThe writer keeps steps that the host rejected, so they are in the new recording as well.\n"
    "Steps that were still in the memory of the host are in no file.\n"
    "\n"
    "The exit status is 1 if steps are not in all files, or if widths had to be guessed.\n"
    "\n"
    "Without --setup, the width of a channel is the number of its values divided by the number of\n"
    "times, rounded up, and its name is like group-0.channel-3. FILE tells both, in JSON:\n"
    "\n"
    "  {\"groups\": [{\"id\": 0, \"channels\": [\n"
    "    {\"id\": 0, \"width\": 1, \"paths\": [\"ball.height\"]},\n"
    "    {\"id\": 1, \"width\": 3, \"paths\": [\"ball.position\"]}]}]}\n"
    "\n"
    "A channel may have several paths. One with an empty list of paths has no file.";

} // namespace

void add_native_rescue(CLI::App& native, Action& action) {
    CLI::App* const command = native.add_subcommand(
        "rescue", "Make a recording of the complete steps of a left-over, which stays as it is");
    command->footer(rescueFooter);
    const auto options = std::make_shared<NativeRescueOptions>();
    command->add_option("LEFTOVER", options->leftOver, "NAME or DIR/NAME")
        ->required()
        ->type_name("");
    add_new_recording_options(*command, options->rescued);
    command
        ->add_option("--setup", options->setup, "The names and widths of the channels, see below")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return rescue(*options, terminal); };
    });
}

} // namespace logging2::tools
