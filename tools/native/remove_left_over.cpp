#include <tools/native/remove_left_over.hpp>

#include <tools/UsageError.hpp>
#include <tools/native/Directory.hpp>

#include <unistd.h>

namespace logging2::tools {
namespace {

bool is_as_found(const std::optional<struct stat>& status, const StreamFile& file) {
    return status && status->st_uid == geteuid() && is_stream_file(*status) &&
           is_unchanged(stream_file(*status), file);
}

} // namespace

void remove_left_over(const LeftOver& leftOver) {
    const Directory directory(leftOver.directory);
    const std::map<std::string, StreamFile> files = files_of(leftOver);
    for (const auto& [name, file] : files) {
        if (!is_as_found(directory.status(name), file)) {
            throw UsageError("it was changed meanwhile");
        }
    }
    for (const auto& [name, file] : files) {
        directory.remove(name);
    }
}

} // namespace logging2::tools
