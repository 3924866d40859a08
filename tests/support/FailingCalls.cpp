#include <tests/support/FailingCalls.hpp>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace logging2::core::test {

struct FailingCalls::Plan {
    Call call;
    std::string nameEnd;
    std::vector<Outcome> outcomes;
    std::size_t count = 0; // guarded by planMutex
};

namespace {

using Plan = FailingCalls::Plan;

// Never destroyed, because files are closed at the end of the process, too.
std::mutex& planMutex = *new std::mutex;
auto& plans = *new std::vector<std::shared_ptr<Plan>>; // guarded by planMutex
std::atomic<bool> anyPlan{false};

bool ends_with(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string name_of(int descriptor) {
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::array<char, 4096> name{};
    const ssize_t length = readlink(link.c_str(), name.data(), name.size());
    return {name.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

std::string name_of(const char* path) {
    return path;
}

Outcome planned(Call call, const std::string& name) {
    const std::lock_guard lock(planMutex);
    for (const auto& plan : plans) {
        if (plan->call == call && ends_with(name, plan->nameEnd)) {
            const std::size_t index = plan->count++;
            return index < plan->outcomes.size() ? plan->outcomes[index] : Outcome();
        }
    }
    return {};
}

/// Looks up the outcome of the call and runs its `before`. If the call is to fail, errno is set.
template <class File>
Outcome decide(Call call, File file) {
    if (!anyPlan) {
        return {};
    }
    const int formerError = errno;
    Outcome outcome = planned(call, name_of(file));
    if (outcome.before) {
        outcome.before();
    }
    errno = outcome.error != 0 ? outcome.error : formerError;
    return outcome;
}

template <class Function>
Function* behind(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <class Function>
std::FILE* open_stream(Function* next, const char* path, const char* mode) {
    return decide(Call::open, path).error != 0 ? nullptr : next(path, mode);
}

/// Always closes the file, as the system does even if it reports an error.
template <class Function, class File>
int close_file(Function* next, File file, int descriptor) {
    const int error = decide(Call::close, descriptor).error;
    const int result = next(file);
    errno = error != 0 ? error : errno;
    return error != 0 ? -1 : result;
}

template <class Function, class Offset>
ssize_t write_at(Function* next, int descriptor, const void* data, std::size_t byteCount,
                 Offset offset) {
    const Outcome outcome = decide(Call::write, descriptor);
    return outcome.error != 0
               ? -1
               : next(descriptor, data, std::min(byteCount, outcome.byteLimit), offset);
}

template <class Function>
int synchronize(Function* next, int descriptor) {
    return decide(Call::synchronize, descriptor).error != 0 ? -1 : next(descriptor);
}

std::vector<iovec> cut(const iovec* pieces, int count, std::size_t byteLimit) {
    std::vector<iovec> result(pieces, pieces + count);
    for (iovec& piece : result) {
        piece.iov_len = std::min(piece.iov_len, byteLimit);
        byteLimit -= piece.iov_len;
    }
    return result;
}

int open_file(int (*next)(const char*, int, ...), const char* path, int flags, mode_t mode) {
    return decide(Call::open, path).error != 0 ? -1 : next(path, flags, mode);
}

/// Memory without a file is left alone.
template <class Function, class Offset>
void* map(Function* next, void* place, std::size_t byteCount, int protection, int flags,
          int descriptor, Offset offset) {
    return descriptor != -1 && decide(Call::map, descriptor).error != 0
               ? MAP_FAILED
               : next(place, byteCount, protection, flags, descriptor, offset);
}

template <class Function, class Offset>
Offset seek(Function* next, int descriptor, Offset offset, int origin) {
    return decide(Call::seek, descriptor).error != 0 ? -1 : next(descriptor, offset, origin);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, Call call) {
    static constexpr std::array names = {"open",   "close",       "read",          "write",
                                         "seek",   "stat",        "makeDirectory", "changeMode",
                                         "remove", "synchronize", "lock",          "truncate",
                                         "map",    "statOpen",    "lockRange",     "reserve"};
    return stream << names.at(static_cast<std::size_t>(call));
}

FailingCalls::FailingCalls(Call call, std::string nameEnd, std::vector<Outcome> outcomes)
    : plan(std::make_shared<Plan>(Plan{call, std::move(nameEnd), std::move(outcomes)})) {
    const std::lock_guard lock(planMutex);
    plans.push_back(plan);
    anyPlan = true;
}

FailingCalls::~FailingCalls() {
    const std::lock_guard lock(planMutex);
    plans.erase(std::find(plans.begin(), plans.end(), plan));
    anyPlan = !plans.empty();
}

std::size_t FailingCalls::count() const {
    const std::lock_guard lock(planMutex);
    return plan->count;
}

} // namespace logging2::core::test

using logging2::core::test::behind;
using logging2::core::test::Call;
using logging2::core::test::decide;

extern "C" {

std::FILE* fopen(const char* path, const char* mode) {
    static const auto next = behind<std::FILE*(const char*, const char*)>("fopen");
    return logging2::core::test::open_stream(next, path, mode);
}

std::FILE* fopen64(const char* path, const char* mode) {
    static const auto next = behind<std::FILE*(const char*, const char*)>("fopen64");
    return logging2::core::test::open_stream(next, path, mode);
}

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

int fclose(std::FILE* file) {
    static const auto next = behind<int(std::FILE*)>("fclose");
    return logging2::core::test::close_file(next, file, fileno(file));
}

int close(int descriptor) {
    static const auto next = behind<int(int)>("close");
    return logging2::core::test::close_file(next, descriptor, descriptor);
}

ssize_t read(int descriptor, void* data, std::size_t byteCount) {
    static const auto next = behind<ssize_t(int, void*, std::size_t)>("read");
    const auto outcome = decide(Call::read, descriptor);
    return outcome.error != 0 ? -1 : next(descriptor, data, std::min(byteCount, outcome.byteLimit));
}

ssize_t write(int descriptor, const void* data, std::size_t byteCount) {
    static const auto next = behind<ssize_t(int, const void*, std::size_t)>("write");
    const auto outcome = decide(Call::write, descriptor);
    return outcome.error != 0 ? -1 : next(descriptor, data, std::min(byteCount, outcome.byteLimit));
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
    static const auto next = behind<ssize_t(int, const iovec*, int)>("writev");
    const auto outcome = decide(Call::write, descriptor);
    const auto parts = logging2::core::test::cut(pieces, count, outcome.byteLimit);
    return outcome.error != 0 ? -1 : next(descriptor, parts.data(), count);
}

ssize_t pwrite(int descriptor, const void* data, std::size_t byteCount, off_t offset) {
    static const auto next = behind<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
    return logging2::core::test::write_at(next, descriptor, data, byteCount, offset);
}

ssize_t pwrite64(int descriptor, const void* data, std::size_t byteCount, off64_t offset) {
    static const auto next = behind<ssize_t(int, const void*, std::size_t, off64_t)>("pwrite64");
    return logging2::core::test::write_at(next, descriptor, data, byteCount, offset);
}

ssize_t preadv(int descriptor, const iovec* pieces, int count, off_t offset) {
    static const auto next = behind<ssize_t(int, const iovec*, int, off_t)>("preadv");
    const auto outcome = decide(Call::read, descriptor);
    const auto parts = logging2::core::test::cut(pieces, count, outcome.byteLimit);
    return outcome.error != 0 ? -1 : next(descriptor, parts.data(), count, offset);
}

int fsync(int descriptor) {
    static const auto next = behind<int(int)>("fsync");
    return logging2::core::test::synchronize(next, descriptor);
}

int fdatasync(int descriptor) {
    static const auto next = behind<int(int)>("fdatasync");
    return logging2::core::test::synchronize(next, descriptor);
}

int ftruncate(int descriptor, off_t length) noexcept {
    static const auto next = behind<int(int, off_t)>("ftruncate");
    return decide(Call::truncate, descriptor).error != 0 ? -1 : next(descriptor, length);
}

int ftruncate64(int descriptor, off64_t length) noexcept {
    static const auto next = behind<int(int, off64_t)>("ftruncate64");
    return decide(Call::truncate, descriptor).error != 0 ? -1 : next(descriptor, length);
}

int fallocate(int descriptor, int mode, off_t offset, off_t byteCount) {
    static const auto next = behind<int(int, int, off_t, off_t)>("fallocate");
    return decide(Call::reserve, descriptor).error != 0 ? -1
                                                        : next(descriptor, mode, offset, byteCount);
}

int fallocate64(int descriptor, int mode, off64_t offset, off64_t byteCount) {
    static const auto next = behind<int(int, int, off64_t, off64_t)>("fallocate64");
    return decide(Call::reserve, descriptor).error != 0 ? -1
                                                        : next(descriptor, mode, offset, byteCount);
}

#ifndef __SANITIZE_THREAD__ // its runtime maps memory before functions can be looked up

void* mmap(void* place, std::size_t byteCount, int protection, int flags, int descriptor,
           off_t offset) noexcept {
    static const auto next = behind<void*(void*, std::size_t, int, int, int, off_t)>("mmap");
    return logging2::core::test::map(next, place, byteCount, protection, flags, descriptor, offset);
}

void* mmap64(void* place, std::size_t byteCount, int protection, int flags, int descriptor,
             off64_t offset) noexcept {
    static const auto next = behind<void*(void*, std::size_t, int, int, int, off64_t)>("mmap64");
    return logging2::core::test::map(next, place, byteCount, protection, flags, descriptor, offset);
}

#endif

int fstat(int descriptor, struct stat* status) noexcept {
    static const auto next = behind<int(int, struct stat*)>("fstat");
    return decide(Call::statOpen, descriptor).error != 0 ? -1 : next(descriptor, status);
}

int fstat64(int descriptor, struct stat64* status) noexcept {
    static const auto next = behind<int(int, struct stat64*)>("fstat64");
    return decide(Call::statOpen, descriptor).error != 0 ? -1 : next(descriptor, status);
}

int fcntl64(int descriptor, int command, ...) {
    static const auto next = behind<int(int, int, ...)>("fcntl64");
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const bool isLock = command == F_SETLK || command == F_GETLK;
    return isLock && decide(Call::lockRange, descriptor).error != 0
               ? -1
               : next(descriptor, command, argument);
}

int flock(int descriptor, int operation) noexcept {
    static const auto next = behind<int(int, int)>("flock");
    return decide(Call::lock, descriptor).error != 0 ? -1 : next(descriptor, operation);
}

off_t lseek(int descriptor, off_t offset, int origin) noexcept {
    static const auto next = behind<off_t(int, off_t, int)>("lseek");
    return logging2::core::test::seek(next, descriptor, offset, origin);
}

off64_t lseek64(int descriptor, off64_t offset, int origin) noexcept {
    static const auto next = behind<off64_t(int, off64_t, int)>("lseek64");
    return logging2::core::test::seek(next, descriptor, offset, origin);
}

int stat(const char* path, struct stat* status) noexcept {
    static const auto next = behind<int(const char*, struct stat*)>("stat");
    return decide(Call::stat, path).error != 0 ? -1 : next(path, status);
}

int stat64(const char* path, struct stat64* status) noexcept {
    static const auto next = behind<int(const char*, struct stat64*)>("stat64");
    return decide(Call::stat, path).error != 0 ? -1 : next(path, status);
}

int lstat64(const char* path, struct stat64* status) noexcept {
    static const auto next = behind<int(const char*, struct stat64*)>("lstat64");
    return decide(Call::stat, path).error != 0 ? -1 : next(path, status);
}

ssize_t pread64(int descriptor, void* data, std::size_t byteCount, off64_t offset) {
    static const auto next = behind<ssize_t(int, void*, std::size_t, off64_t)>("pread64");
    const auto outcome = decide(Call::read, descriptor);
    return outcome.error != 0
               ? -1
               : next(descriptor, data, std::min(byteCount, outcome.byteLimit), offset);
}

int lstat(const char* path, struct stat* status) noexcept {
    static const auto next = behind<int(const char*, struct stat*)>("lstat");
    return decide(Call::stat, path).error != 0 ? -1 : next(path, status);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto next = behind<int(const char*, mode_t)>("mkdir");
    return decide(Call::makeDirectory, path).error != 0 ? -1 : next(path, mode);
}

int chmod(const char* path, mode_t mode) noexcept {
    static const auto next = behind<int(const char*, mode_t)>("chmod");
    return decide(Call::changeMode, path).error != 0 ? -1 : next(path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept {
    static const auto next = behind<int(int, mode_t)>("fchmod");
    return decide(Call::changeMode, descriptor).error != 0 ? -1 : next(descriptor, mode);
}

int fchmodat(int directory, const char* path, mode_t mode, int flags) noexcept {
    static const auto next = behind<int(int, const char*, mode_t, int)>("fchmodat");
    return decide(Call::changeMode, path).error != 0 ? -1 : next(directory, path, mode, flags);
}

int remove(const char* path) noexcept {
    static const auto next = behind<int(const char*)>("remove");
    return decide(Call::remove, path).error != 0 ? -1 : next(path);
}

int unlink(const char* path) noexcept {
    static const auto next = behind<int(const char*)>("unlink");
    return decide(Call::remove, path).error != 0 ? -1 : next(path);
}

int rmdir(const char* path) noexcept {
    static const auto next = behind<int(const char*)>("rmdir");
    return decide(Call::remove, path).error != 0 ? -1 : next(path);
}

} // extern "C"
