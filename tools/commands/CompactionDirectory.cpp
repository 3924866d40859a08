#include <tools/commands/CompactionDirectory.hpp>

#include <tools/terminal/Interrupt.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

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

bool is_at(int descriptor, const fs::path& path) {
    struct stat opened {};
    struct stat present {};
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &present) == 0 &&
           opened.st_dev == present.st_dev && opened.st_ino == present.st_ino;
}

/// Waits for the lock of the directory; false if directories cannot be locked there.
bool wait_for_lock(int directory) {
    while (flock(directory, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return false;
        }
        InterruptGuard::check();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

/// A descriptor of the recording with its lock; empty if it cannot be locked. Another compaction
/// may replace the recording while this one waits.
Descriptor locked(const fs::path& recording) {
    for (;;) {
        Descriptor directory(open(recording.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.get() == -1 || !wait_for_lock(directory.get())) {
            return Descriptor();
        }
        if (is_at(directory.get(), recording)) {
            return directory;
        }
    }
}

/// What there is belongs to a compaction that has ended, because this one has the lock.
void remove_abandoned(const fs::path& recording) {
    const std::string prefix = prefix_of(recording);
    std::error_code error;
    for (fs::directory_iterator entry(recording.parent_path(), error);
         !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (entry->path().filename().string().compare(0, prefix.size(), prefix) == 0) {
            std::error_code ignored;
            fs::remove_all(entry->path(), ignored);
        }
    }
}

/// Both directories get each other's name at once, so there is no moment without the recording.
void exchange(const fs::path& a, const fs::path& b) {
    if (renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) != 0) {
        throw std::system_error(errno, std::generic_category(),
                                a.string() + ": cannot be replaced by its compact copy");
    }
}

} // namespace

CompactionDirectory::CompactionDirectory(fs::path recordingPath)
    : recording(std::move(recordingPath)),
      lock(locked(recording)) {
    if (lock.get() != -1) {
        remove_abandoned(recording);
    }
    made = made_beside(recording);
}

CompactionDirectory::~CompactionDirectory() {
    std::error_code ignored;
    fs::remove_all(made, ignored);
}

void CompactionDirectory::replaceRecording(const fs::path& copy) const {
    // Another compaction would take what is left of the former recording for abandoned.
    const Descriptor copyLock = locked(copy);
    exchange(recording, copy);
    fs::remove_all(made);
}

} // namespace logging2::tools
