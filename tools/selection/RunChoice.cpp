#include <tools/selection/RunChoice.hpp>

#include <tools/UsageError.hpp>
#include <tools/selection/recording_directory.hpp>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

std::size_t recording_count(const std::string& location) {
    std::error_code error;
    std::size_t count = 0;
    for (fs::directory_iterator entry(location, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        count += entry->path().extension() == ".recording" ? 1 : 0;
    }
    return count;
}

std::string latest_of(const std::string& directory, const std::vector<core::RecordingEntry>& runs) {
    const auto first = std::find_if(runs.begin(), runs.end(), [](const core::RecordingEntry& run) {
        return run.fault.empty();
    });
    if (first == runs.end()) {
        throw UsageError(directory + ": there is no recording that can be opened");
    }
    return first->location;
}

std::string with_id(const RunChoice& choice, const std::vector<core::RecordingEntry>& runs) {
    std::vector<std::string> found;
    for (const core::RecordingEntry& run : runs) {
        if (run.info.id.compare(0, choice.id.size(), choice.id) == 0) {
            found.push_back(run.location);
        }
    }
    if (found.size() == 1) {
        return found.front();
    }
    throw UsageError(choice.location +
                     (found.empty() ? ": no run has an id that begins with \""
                                    : ": more than one run has an id that begins with \"") +
                     choice.id + '"');
}

} // namespace

void add_run_options(CLI::App& command, RunChoice& choice) {
    add_run_options(command, choice, "RUN");
}

void add_run_options(CLI::App& command, RunChoice& choice, const std::string& argument) {
    command
        .add_option(argument, choice.location,
                    "The directory of a recording, or of recordings together with " + choice.option)
        ->required()
        ->type_name("");
    command
        .add_option(choice.option, choice.id,
                    "In a directory of recordings: the one whose id begins with ID, or the latest")
        ->type_name("ID|latest");
}

std::string recording_of(const RunChoice& choice) {
    if (!choice.id.empty()) {
        const std::vector<core::RecordingEntry> runs = core::list_recordings(choice.location);
        return choice.id == "latest" ? latest_of(choice.location, runs) : with_id(choice, runs);
    }
    const std::size_t count = is_recording(choice.location) ? 0 : recording_count(choice.location);
    if (count > 0) {
        throw UsageError(choice.location + ": this directory contains " + std::to_string(count) +
                         (count == 1 ? " recording" : " recordings") + "; choose one with " +
                         choice.option + " ID or " + choice.option + " latest");
    }
    return choice.location;
}

std::unique_ptr<core::Run> open_run(const RunChoice& choice) {
    return core::open_recording(recording_of(choice));
}

} // namespace logging2::tools
