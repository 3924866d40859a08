#include <tools/native/open_files.hpp>

#include <tools/native/Directory.hpp>
#include <tools/native/file_names.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <climits>
#include <optional>
#include <string>
#include <system_error>

namespace logging2::tools {
namespace {

std::optional<pid_t> process_id(const std::string& name) {
    pid_t id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    const bool isWhole = end == name.data() + name.size();
    return error == std::errc() && isWhole ? std::optional(id) : std::nullopt;
}

/// Whether the link of an open file names a file of the writer. Files of other names are not asked
/// for their status, which may take long on a network.
bool names_stream_file(const std::string& link) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    if (length <= 0) {
        return false;
    }
    const std::string_view path(target.data(), static_cast<std::size_t>(length));
    return parse_file_name(path.substr(path.rfind('/') + 1)).has_value();
}

void add_files_of(pid_t process, OpenFiles& files) {
    const Directory descriptors("/proc/" + std::to_string(process) + "/fd");
    descriptors.visit([&](const std::string& name) {
        const std::string link = descriptors.pathOf(name);
        struct stat status {};
        if (names_stream_file(link) && stat(link.c_str(), &status) == 0) {
            files[{status.st_dev, status.st_ino}].insert(process);
        }
        return true;
    });
}

} // namespace

OpenFiles open_stream_files() {
    OpenFiles files;
    const Directory processes("/proc");
    processes.visit([&](const std::string& name) {
        if (const std::optional<pid_t> process = process_id(name)) {
            try {
                add_files_of(*process, files);
            } catch (const std::system_error&) {
                // It is another user's, or it has ended meanwhile.
            }
        }
        return true;
    });
    return files;
}

std::set<pid_t> processes_of(const LeftOver& leftOver, const OpenFiles& openFiles) {
    std::set<pid_t> processes;
    for (const auto& [name, file] : files_of(leftOver)) {
        if (const auto found = openFiles.find({file.device, file.inode});
            found != openFiles.end()) {
            processes.insert(found->second.begin(), found->second.end());
        }
    }
    return processes;
}

} // namespace logging2::tools
