#include <logging2/backends/recording/open_recording.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/RecordingRun.hpp>
#include <logging2/backends/recording/detail/find_description.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace logging2::core {
namespace {

namespace fs = std::filesystem;

using DirectoryIdentity = std::pair<dev_t, ino_t>;

DirectoryIdentity identity_of(const std::string& directory) {
    struct stat status {};
    return stat(directory.c_str(), &status) == 0 ? DirectoryIdentity(status.st_dev, status.st_ino)
                                                 : DirectoryIdentity();
}

/// To an entry that cannot be opened.
void add_what_is_known(RecordingEntry& entry) {
    detail::Description description = detail::known_description(entry.location);
    if (!description.id.empty()) {
        entry.info.id = std::move(description.id);
        entry.info.name = std::move(description.name);
        entry.info.properties = std::move(description.properties);
        entry.info.start = detail::time_of(description.start);
        entry.info.state = RunState::interrupted;
        entry.info.host = std::move(description.host);
        entry.info.process = std::move(description.process);
        entry.info.libraryVersion = std::move(description.libraryVersion);
    }
}

RecordingEntry entry_of(const std::string& location) {
    RecordingEntry entry{location, {}, {}};
    try {
        entry.info = open_recording(location)->info();
    } catch (const std::exception& error) {
        entry.fault = error.what();
        add_what_is_known(entry);
    }
    return entry;
}

bool is_named_recording(const fs::directory_entry& entry) {
    std::error_code unknown;
    const fs::file_type type = entry.status(unknown).type();
    // It has no type if the system does not tell, such as behind a loop of symbolic links.
    const bool canBeDirectory = type == fs::file_type::directory || type == fs::file_type::none;
    return canBeDirectory && entry.path().extension() == detail::recordingSuffix;
}

bool comes_before(const RecordingEntry& a, const RecordingEntry& b) {
    if (a.fault.empty() != b.fault.empty()) {
        return a.fault.empty();
    }
    if (a.fault.empty() && a.info.start != b.info.start) {
        return a.info.start > b.info.start;
    }
    return a.location < b.location;
}

} // namespace

std::unique_ptr<Run> open_recording(const std::string& directory) {
    return open_recording(directory, SampleAccess::mapped);
}

std::unique_ptr<Run> open_recording(const std::string& directory, SampleAccess access) {
    for (;;) {
        detail::require_directory(directory);
        const DirectoryIdentity before = identity_of(directory);
        try {
            auto run = std::make_unique<detail::RecordingRun>(directory, access);
            if (identity_of(directory) == before) {
                return run;
            }
        } catch (const RecordingError&) {
            if (identity_of(directory) == before) {
                throw;
            }
        }
        // The recording was replaced meanwhile, maybe between the opening of two of its files.
    }
}

std::vector<RecordingEntry> list_recordings(const std::string& directory) {
    detail::check_name(directory);
    std::vector<RecordingEntry> entries;
    try {
        for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
            if (is_named_recording(entry)) {
                entries.push_back(entry_of(entry.path().string()));
            }
        }
    } catch (const fs::filesystem_error& error) {
        throw RecordingError(directory, "cannot read it: " + error.code().message());
    }
    std::sort(entries.begin(), entries.end(), comes_before);
    return entries;
}

} // namespace logging2::core
