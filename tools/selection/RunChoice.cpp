#include <tools/selection/RunChoice.hpp>

#include <tools/UsageError.hpp>
#include <tools/selection/recording_directory.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
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

/// When the run began; if its files do not tell that any more, when its directory was changed.
std::chrono::system_clock::time_point start_of(const core::RecordingEntry& run) {
    if (run.info.start != std::chrono::system_clock::time_point()) {
        return run.info.start;
    }
    struct stat status {};
    stat(run.location.c_str(), &status); // leaves zeros if that fails
    const auto whole = std::chrono::seconds(status.st_mtim.tv_sec);
    const auto part = std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return std::chrono::system_clock::time_point(whole + part);
}

/// Also one that cannot be opened, because an older one in its place would be taken for it.
std::string latest_of(const std::string& directory, const std::vector<core::RecordingEntry>& runs) {
    if (runs.empty()) {
        throw UsageError(directory + ": there are no recordings");
    }
    return std::min_element(runs.begin(), runs.end(),
                            [](const core::RecordingEntry& a, const core::RecordingEntry& b) {
                                return start_of(a) > start_of(b);
                            })
        ->location;
}

bool begins_with(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// One that cannot be opened may also be chosen by the name of its directory, because its id may be
/// lost.
bool has_id(const core::RecordingEntry& run, const std::string& id) {
    return begins_with(run.info.id, id) ||
           (!run.fault.empty() && begins_with(fs::path(run.location).filename().string(), id));
}

std::string with_id(const RunChoice& choice, const std::vector<core::RecordingEntry>& runs) {
    std::vector<std::string> found;
    for (const core::RecordingEntry& run : runs) {
        if (has_id(run, choice.id)) {
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
    // Pages of a mapped file would stay in memory, and reading a file that is cut ends a process.
    return core::open_recording(recording_of(choice), core::SampleAccess::copied);
}

} // namespace logging2::tools
