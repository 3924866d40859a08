#include <tools/commands/CompactionDirectory.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

std::string prefix_of(const fs::path& recording) {
    return "." + recording.filename().string() + ".compact.";
}

fs::path made_beside(const fs::path& recording) {
    std::string name = (recording.parent_path() / (prefix_of(recording) + "XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(),
                                recording.string() + ": no directory can be made beside it");
    }
    return name;
}

int opened(const fs::path& directory) {
    return open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool is_locked_now(int descriptor) {
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

/// Where locks do not work, nothing is removed.
void remove_if_abandoned(const fs::path& directory) {
    const int descriptor = opened(directory);
    if (descriptor < 0) {
        return;
    }
    if (is_locked_now(descriptor)) {
        std::error_code ignored;
        fs::remove_all(directory, ignored);
    }
    close(descriptor);
}

void remove_abandoned(const fs::path& recording) {
    const std::string prefix = prefix_of(recording);
    std::error_code error;
    for (fs::directory_iterator entry(recording.parent_path(), error);
         !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (entry->path().filename().string().compare(0, prefix.size(), prefix) == 0) {
            remove_if_abandoned(entry->path());
        }
    }
}

} // namespace

CompactionDirectory::CompactionDirectory(const fs::path& recording)
    : made((remove_abandoned(recording), made_beside(recording))),
      lock(opened(made)) {
    is_locked_now(lock);
}

CompactionDirectory::~CompactionDirectory() {
    std::error_code ignored;
    fs::remove_all(made, ignored);
    close(lock);
}

void CompactionDirectory::remove() const {
    fs::remove_all(made);
}

} // namespace logging2::tools
