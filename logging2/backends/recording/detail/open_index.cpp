#include <logging2/backends/recording/detail/open_index.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sqlite3.h>

namespace logging2::core::detail {
namespace {

namespace fs = std::filesystem;

/// How long a reader waits for another connection that repairs the log after a crash.
constexpr int busyMilliseconds = 5000;

/// The name as an URI with parameters.
std::string uri_of(const std::string& name, const char* parameters) {
    std::string uri = "file:";
    for (const char character : fs::absolute(name).string()) {
        if (character == '%' || character == '?' || character == '#') {
            std::array<char, 4> code{};
            std::snprintf(code.data(), code.size(), "%%%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(character)));
            uri += code.data();
        } else {
            uri += character;
        }
    }
    return uri + '?' + parameters;
}

std::unique_ptr<Database> opened(const std::string& name, const char* parameters) {
    auto database =
        std::make_unique<Database>(uri_of(name, parameters), name, SQLITE_OPEN_READONLY);
    sqlite3_busy_timeout(database->get(), busyMilliseconds);
    return database;
}

/// A log of its header alone holds nothing, and SQLite would wait for its writer in vain.
constexpr std::uintmax_t logHeaderByteCount = 32;

bool has_log(const std::string& name) {
    std::error_code error;
    const auto byteCount = fs::file_size(name + "-wal", error);
    return !error && byteCount > logHeaderByteCount;
}

/// Throws if the log does not begin as one of SQLite's, which would wait for its writer in vain.
void check_log(const std::string& name) {
    std::array<unsigned char, logHeaderByteCount> header{};
    DataFile::open(name + "-wal").read(header.data(), header.size(), 0);
    const auto numberAt = [&](std::size_t place) {
        return std::uint32_t{header[place]} << 24 | std::uint32_t{header[place + 1]} << 16 |
               std::uint32_t{header[place + 2]} << 8 | header[place + 3];
    };
    const std::uint32_t pageByteCount = numberAt(8);
    const bool isPageSize = pageByteCount >= 512 && pageByteCount <= 65536 &&
                            (pageByteCount & (pageByteCount - 1)) == 0;
    // The last bit tells the byte order of the hashes.
    const bool isLog = (numberAt(0) & ~std::uint32_t{1}) == 0x377f0682 && isPageSize;
    // A header of zeros has not reached the disk; SQLite passes over such a log.
    const bool isMarked = (numberAt(16) | numberAt(20)) != 0;
    if (!isLog && isMarked) {
        throw RecordingError(name, "its log is damaged");
    }
}

/// A directory that only this user sees, until the end of the object.
class PrivateDirectory {
public:
    PrivateDirectory() : name((fs::temp_directory_path(error) / "logging2-XXXXXX").string()) {
        if (error || mkdtemp(name.data()) == nullptr) {
            throw RecordingError(name, "cannot make this directory for temporary files");
        }
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;
    ~PrivateDirectory() {
        std::error_code ignored;
        fs::remove_all(name, ignored);
    }
    const std::string& path() const noexcept { return name; }

private:
    std::error_code error;
    std::string name;
};

std::unique_ptr<Database> opened_copy(const std::string& name) {
    const PrivateDirectory directory;
    const std::string copy = directory.path() + "/index.sqlite";
    try {
        fs::copy_file(name, copy);
        fs::copy_file(name + "-wal", copy + "-wal");
        fs::permissions(copy, fs::perms::owner_read | fs::perms::owner_write);
        fs::permissions(copy + "-wal", fs::perms::owner_read | fs::perms::owner_write);
    } catch (const fs::filesystem_error& error) {
        throw RecordingError(name, "cannot copy it and its log: " + error.code().message());
    }
    auto database =
        std::make_unique<Database>(uri_of(copy, "mode=rw"), name, SQLITE_OPEN_READWRITE);
    // The connection keeps the files that it has opened, though their names go.
    database->execute("PRAGMA query_only = ON; SELECT count(*) FROM sqlite_schema");
    return database;
}

std::unique_ptr<Database> opened_with_log(const std::string& name) {
    std::error_code error;
    if (!fs::exists(name + "-shm", error)) {
        return opened_copy(name);
    }
    check_log(name);
    auto database = opened(name, "mode=ro&readonly_shm=1");
    try {
        // SQLite opens the log at the first query.
        database->execute("SELECT count(*) FROM sqlite_schema");
    } catch (const SharedMemoryFault&) {
        return opened_copy(name);
    }
    return database;
}

/// No row of a database is shorter.
constexpr std::uint64_t leastRowByteCount = 4;

std::uint64_t byte_count_of(const std::string& file) {
    std::error_code error;
    const auto count = fs::file_size(file, error);
    return error ? 0 : count;
}

/// Whether the log has gone that there was.
bool has_lost_log(const std::string& name) {
    return !has_log(name);
}

} // namespace

std::unique_ptr<Database> open_index(const std::string& name) {
    std::error_code error;
    if (!fs::exists(name, error)) {
        throw RecordingError(name, "it does not exist");
    }
    while (has_log(name)) {
        try {
            return opened_with_log(name);
        } catch (const RecordingError&) {
            // A writer that finishes at this moment removes the log.
            if (!has_lost_log(name)) {
                throw;
            }
        }
    }
    return opened(name, "mode=ro&immutable=1");
}

std::uint64_t row_count_limit(const std::string& name) {
    return (byte_count_of(name) + byte_count_of(name + "-wal")) / leastRowByteCount;
}

} // namespace logging2::core::detail
