#include <logging2/backends/recording/detail/DataFile.hpp>

#include <logging2/backends/recording/detail/AccessFault.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <limits>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace logging2::core::detail {
namespace {

[[noreturn]] void fail(const std::string& name, const std::string& what, int error) {
    throw RecordingError(name, "cannot " + what + ": " + text_of_error(error));
}

/// What is reserved ahead grows with the file, up to this.
constexpr std::uint64_t leastReserve = std::uint64_t{1} << 20;
constexpr std::uint64_t greatestReserve = std::uint64_t{64} << 20;

/// Readers lock a file for a moment to see whether it is claimed.
constexpr int greatestAttemptCount = 2000;

constexpr std::uint32_t ext4Magic = 0xef53;

/// Repeats a call that a signal has interrupted.
template <class SystemCall>
auto repeated(SystemCall systemCall) {
    auto result = systemCall();
    while (result == -1 && errno == EINTR) {
        result = systemCall();
    }
    return result;
}

/// Skips so many bytes of the two places.
void advance(std::array<iovec, 2>& places, std::size_t byteCount) {
    for (iovec& place : places) {
        const std::size_t part = std::min(byteCount, place.iov_len);
        place.iov_base = static_cast<char*>(place.iov_base) + part;
        place.iov_len -= part;
        byteCount -= part;
    }
}

int open_or_throw(const std::string& name, int flags, mode_t mode, const char* what) {
    const int descriptor = repeated([&] { return ::open(name.c_str(), flags | O_CLOEXEC, mode); });
    if (descriptor == -1) {
        if (is_access_fault(errno)) {
            throw AccessFault(name, std::string("cannot ") + what + ": " + text_of_error(errno));
        }
        fail(name, what, errno);
    }
    return descriptor;
}

} // namespace

std::string text_of_error(int error) {
    return std::generic_category().message(error);
}

DataFile DataFile::create(const std::string& name, mode_t mode) {
    DataFile file(std::string(name),
                  open_or_throw(name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode, "create it"));
    if (fchmod(file.descriptor, mode) == -1) {
        fail(name, "set its permissions", errno);
    }
    return file;
}

DataFile DataFile::open(const std::string& name) {
    // Opening a named pipe would otherwise wait for somebody who writes to it.
    DataFile file(std::string(name), open_or_throw(name, O_RDONLY | O_NONBLOCK, 0, "open it"));
    if (!S_ISREG(file.status().st_mode)) {
        throw RecordingError(name, "it is not a regular file");
    }
    return file;
}

DataFile::DataFile(std::string&& name, int fileDescriptor) noexcept
    : path(std::move(name)),
      descriptor(fileDescriptor) {}

DataFile::DataFile(DataFile&& other) noexcept
    : path(std::move(other.path)),
      descriptor(std::exchange(other.descriptor, -1)),
      reservedEnd(other.reservedEnd) {}

DataFile::~DataFile() {
    if (descriptor != -1) {
        ::close(descriptor);
    }
}

struct stat DataFile::status() const {
    struct stat result {};
    if (fstat(descriptor, &result) == -1) {
        fail(path, "ask for its size", errno);
    }
    return result;
}

std::uint64_t DataFile::byteCount() const {
    return static_cast<std::uint64_t>(status().st_size);
}

void DataFile::checkPlace() const {
    if (status().st_nlink == 0) {
        throw RecordingError(path, "it was deleted");
    }
}

void DataFile::write(const void* bytes, std::size_t byteCount, std::uint64_t offset) {
    const char* rest = static_cast<const char*>(bytes);
    while (byteCount > 0) {
        const ssize_t written = repeated(
            [&] { return pwrite(descriptor, rest, byteCount, static_cast<off_t>(offset)); });
        if (written <= 0) {
            fail(path, "write to it", written == 0 ? ENOSPC : errno);
        }
        rest += written;
        byteCount -= static_cast<std::size_t>(written);
        offset += static_cast<std::uint64_t>(written);
    }
}

void DataFile::reserveAhead() {
    struct statfs system {};
    if (fstatfs(descriptor, &system) == 0 &&
        static_cast<std::uint32_t>(system.f_type) == ext4Magic) {
        reservedEnd = 0;
    }
}

void DataFile::reserve(std::uint64_t end) noexcept {
    if (end <= reservedEnd) {
        return;
    }
    const std::uint64_t byteCount =
        end - reservedEnd + std::clamp(end, leastReserve, greatestReserve);
    const int result = repeated([&] {
        return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(reservedEnd),
                         static_cast<off_t>(byteCount));
    });
    reservedEnd = result == 0 ? reservedEnd + byteCount : std::numeric_limits<std::uint64_t>::max();
}

void DataFile::giveBackReserved() noexcept {
    struct stat file {};
    if (fstat(descriptor, &file) == 0) {
        // The size stays the same, so a reader's mapping stays valid.
        std::ignore = ftruncate(descriptor, file.st_size);
    }
    reservedEnd = std::numeric_limits<std::uint64_t>::max();
}

void DataFile::synchronize() {
    if (repeated([this] { return fdatasync(descriptor); }) == -1) {
        fail(path, "bring it to the disk", errno);
    }
}

void DataFile::read(void* to, std::size_t byteCount, std::uint64_t offset) const {
    read({to, byteCount}, {}, offset);
}

void DataFile::read(iovec first, iovec second, std::uint64_t offset) const {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
        failTooShort();
    }
    for (std::array<iovec, 2> places{first, second}; places[0].iov_len + places[1].iov_len > 0;) {
        const ssize_t count = repeated(
            [&] { return preadv(descriptor, places.data(), 2, static_cast<off_t>(offset)); });
        if (count == -1) {
            fail(path, "read it", errno);
        }
        if (count == 0) {
            failTooShort();
        }
        advance(places, static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
    }
}

bool DataFile::hasBytes(std::uint64_t count, std::uint64_t offset) const {
    const std::uint64_t end = byteCount();
    return count <= end && offset <= end - count;
}

void DataFile::requireBytes(std::uint64_t count, std::uint64_t offset) const {
    if (!hasBytes(count, offset)) {
        failTooShort();
    }
}

void DataFile::failTooShort() const {
    throw RecordingError(path, "it ends too early: bytes are missing");
}

void DataFile::claim() {
    for (int attempt = 1; tryToClaim() == -1; ++attempt) {
        if (errno != EWOULDBLOCK || attempt == greatestAttemptCount) {
            fail(path, "lock it for writing", errno);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

int DataFile::tryToClaim() noexcept {
    return repeated([this] { return flock(descriptor, LOCK_EX | LOCK_NB); });
}

void DataFile::release() const noexcept {
    flock(descriptor, LOCK_UN);
}

bool DataFile::isClaimed() const {
    if (repeated([this] { return flock(descriptor, LOCK_SH | LOCK_NB); }) == -1) {
        return errno == EWOULDBLOCK;
    }
    flock(descriptor, LOCK_UN);
    return false;
}

std::shared_ptr<const char> DataFile::map(std::uint64_t byteCount) const {
    void* const memory = mmap(nullptr, byteCount, PROT_READ, MAP_SHARED, descriptor, 0);
    if (memory == MAP_FAILED) {
        fail(path, "map it into memory", errno);
    }
    return {static_cast<const char*>(memory),
            [memory, byteCount](const char*) { munmap(memory, byteCount); }};
}

void synchronize_directory(const std::string& name) {
    const int descriptor = open_or_throw(name, O_RDONLY | O_DIRECTORY, 0, "open it");
    const int result = repeated([&] { return fsync(descriptor); });
    const int error = errno;
    ::close(descriptor);
    if (result == -1) {
        fail(name, "bring it to the disk", error);
    }
}

} // namespace logging2::core::detail
