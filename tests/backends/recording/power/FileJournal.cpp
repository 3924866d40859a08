#include <tests/backends/recording/power/FileJournal.hpp>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <mutex>
#include <optional>
#include <utility>

namespace logging2::core::test {
namespace {

/// The place and the list of a journal.
struct Journal {
    std::string directory;
    std::vector<FileEvent> events;
    std::function<bool()> failsNow = [] { return false; };
};

// Never destroyed, because files are closed at the end of the process, too.
std::mutex& journalMutex = *new std::mutex;
auto& journal = *new std::optional<Journal>; // guarded by journalMutex
std::atomic<bool> isActive{false};

std::string name_of(int descriptor) {
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, 4096> name{};
    const ssize_t length = readlink(link.c_str(), name.data(), name.size());
    return {name.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

std::string name_of(const char* path) {
    return path;
}

void add(FileEvent event) {
    if (event.path.rfind(journal->directory, 0) == 0) {
        journal->events.push_back(std::move(event));
    }
}

/// Makes the call and adds the event if the call has worked. One call at a time, so that the
/// events are in the order of the calls.
template <class File, class SystemCall, class MakeEvent>
auto noted(File file, SystemCall systemCall, MakeEvent event) {
    if (!isActive) {
        return systemCall();
    }
    const std::lock_guard lock(journalMutex);
    const std::string name = name_of(file);
    const auto result = systemCall();
    const int error = errno;
    if (result != -1 && journal) {
        FileEvent made = event(result);
        made.path = name;
        add(std::move(made));
    }
    errno = error;
    return result;
}

template <class Function>
Function* behind(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

FileEvent write_event(const void* data, ssize_t byteCount, std::size_t offset) {
    return {FileEvent::Kind::write,
            {},
            {static_cast<const char*>(data), static_cast<std::size_t>(byteCount)},
            offset};
}

auto event_of(FileEvent::Kind kind, std::size_t number = 0) {
    return [kind, number](auto) { return FileEvent{kind, {}, {}, number}; };
}

template <class Function, class Offset>
ssize_t write_at(Function* next, int descriptor, const void* data, std::size_t byteCount,
                 Offset offset) {
    return noted(
        descriptor, [&] { return next(descriptor, data, byteCount, offset); },
        [&](ssize_t count) { return write_event(data, count, static_cast<std::size_t>(offset)); });
}

template <class Function>
int synchronize(Function* next, int descriptor) {
    if (isActive) {
        const std::lock_guard lock(journalMutex);
        if (journal && journal->failsNow()) {
            add({FileEvent::Kind::failedSynchronization, name_of(descriptor), {}, 0});
            errno = EIO;
            return -1;
        }
    }
    return noted(
        descriptor, [&] { return next(descriptor); }, event_of(FileEvent::Kind::synchronize));
}

int open_file(int (*next)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    if (!isActive || (flags & O_CREAT) == 0 || access(path, F_OK) == 0) {
        return next(path, flags, mode);
    }
    return noted(
        path, [&] { return next(path, flags, mode); }, event_of(FileEvent::Kind::makeFile));
}

} // namespace

FileJournal::FileJournal(const std::filesystem::path& directory) {
    const std::lock_guard lock(journalMutex);
    journal.emplace();
    journal->directory = directory.string();
    isActive = true;
}

FileJournal::~FileJournal() {
    const std::lock_guard lock(journalMutex);
    journal.reset();
    isActive = false;
}

void FileJournal::note(std::size_t number) {
    const std::lock_guard lock(journalMutex);
    journal->events.push_back({FileEvent::Kind::note, {}, {}, number});
}

void FileJournal::failSynchronizations(std::function<bool()> failsNow) {
    const std::lock_guard lock(journalMutex);
    journal->failsNow = std::move(failsNow);
}

std::vector<FileEvent> FileJournal::events() {
    const std::lock_guard lock(journalMutex);
    return journal->events;
}

} // namespace logging2::core::test

using logging2::core::test::behind;
using logging2::core::test::event_of;
using logging2::core::test::FileEvent;
using logging2::core::test::noted;

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto next = behind<int(const char*, int, ...)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return logging2::core::test::open_file(next, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static const auto next = behind<int(const char*, int, ...)>("open64");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return logging2::core::test::open_file(next, path, flags, mode);
}

ssize_t pwrite(int descriptor, const void* data, std::size_t byteCount, off_t offset) {
    static const auto next = behind<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
    return logging2::core::test::write_at(next, descriptor, data, byteCount, offset);
}

ssize_t pwrite64(int descriptor, const void* data, std::size_t byteCount, off64_t offset) {
    static const auto next = behind<ssize_t(int, const void*, std::size_t, off64_t)>("pwrite64");
    return logging2::core::test::write_at(next, descriptor, data, byteCount, offset);
}

int ftruncate(int descriptor, off_t length) noexcept {
    static const auto next = behind<int(int, off_t)>("ftruncate");
    return noted(
        descriptor, [&] { return next(descriptor, length); },
        event_of(FileEvent::Kind::truncate, static_cast<std::size_t>(length)));
}

int ftruncate64(int descriptor, off64_t length) noexcept {
    static const auto next = behind<int(int, off64_t)>("ftruncate64");
    return noted(
        descriptor, [&] { return next(descriptor, length); },
        event_of(FileEvent::Kind::truncate, static_cast<std::size_t>(length)));
}

int fsync(int descriptor) {
    static const auto next = behind<int(int)>("fsync");
    return logging2::core::test::synchronize(next, descriptor);
}

int fdatasync(int descriptor) {
    static const auto next = behind<int(int)>("fdatasync");
    return logging2::core::test::synchronize(next, descriptor);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto next = behind<int(const char*, mode_t)>("mkdir");
    return noted(
        path, [&] { return next(path, mode); }, event_of(FileEvent::Kind::makeDirectory));
}

int unlink(const char* path) noexcept {
    static const auto next = behind<int(const char*)>("unlink");
    return noted(
        path, [&] { return next(path); }, event_of(FileEvent::Kind::remove));
}

} // extern "C"
