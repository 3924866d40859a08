#include <logging2/backends/recording/detail/open_index.hpp>

#include <logging2/backends/recording/detail/AccessFault.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

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
    database->distrust();
    sqlite3_busy_timeout(database->get(), busyMilliseconds);
    return database;
}

/// Throws if one of the files is not a regular one: opening a named pipe, for example, could wait
/// for ever.
void check_kinds(const std::string& name) {
    for (const char* const end : {"", "-wal", "-shm", "-journal"}) {
        std::error_code error;
        const auto type = fs::status(name + end, error).type();
        if (type == fs::file_type::regular) {
            continue;
        }
        if (type == fs::file_type::none) {
            const std::string cause = "cannot open it: " + error.message();
            if (is_access_fault(error.value())) {
                throw AccessFault(name + end, cause);
            }
            throw RecordingError(name + end, cause);
        }
        if (type != fs::file_type::not_found) {
            throw RecordingError(name + end, "it is not a regular file");
        }
        if (*end == '\0') {
            throw RecordingError(name, "it does not exist");
        }
    }
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
    PrivateDirectory() {
        std::string pattern = (fs::temp_directory_path() / "logging2-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw fs::filesystem_error("mkdtemp", pattern,
                                       std::error_code(errno, std::generic_category()));
        }
        name = pattern;
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;
    ~PrivateDirectory() {
        std::error_code ignored;
        fs::remove_all(name, ignored);
    }
    const std::string& path() const noexcept { return name; }

private:
    std::string name;
};

void copy_privately(const std::string& name, const std::string& newName) {
    fs::copy_file(name, newName);
    fs::permissions(newName, fs::perms::owner_read | fs::perms::owner_write);
}

/// Opens copies of the index and of its log or its journal.
std::unique_ptr<Database> opened_copy(const std::string& name, const char* logEnd) {
    try {
        const PrivateDirectory directory;
        const std::string copy = directory.path() + "/index.sqlite";
        copy_privately(name, copy);
        copy_privately(name + logEnd, copy + logEnd);
        auto database =
            std::make_unique<Database>(uri_of(copy, "mode=rw"), name, SQLITE_OPEN_READWRITE);
        database->distrust();
        // The connection keeps the files that it has opened, though their names go.
        database->execute("PRAGMA query_only = ON; SELECT count(*) FROM sqlite_schema");
        return database;
    } catch (const fs::filesystem_error& error) {
        throw AccessFault(name, "cannot copy it and its log to the directory TMPDIR, or /tmp: " +
                                    error.code().message());
    }
}

std::unique_ptr<Database> opened_with_log(const std::string& name) {
    std::error_code error;
    if (!fs::exists(name + "-shm", error)) {
        return opened_copy(name, "-wal");
    }
    check_log(name);
    auto database = opened(name, "mode=ro&readonly_shm=1");
    try {
        // SQLite opens the log at the first query.
        database->execute("SELECT count(*) FROM sqlite_schema");
    } catch (const SharedMemoryFault&) {
        return opened_copy(name, "-wal");
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

/// Whether a commit has begun that is not complete. SQLite overwrites the beginning of the journal
/// of a complete one with zeros, or removes it.
bool has_hot_journal(const std::string& name) {
    std::error_code error;
    const auto byteCount = fs::file_size(name + "-journal", error);
    if (error || byteCount == 0) {
        return false;
    }
    char first = 0;
    try {
        DataFile::open(name + "-journal").read(&first, 1, 0);
    } catch (const RecordingError&) {
        // A writer that ends its commit at this moment removes the journal.
        return fs::exists(name + "-journal", error);
    }
    return first != 0;
}

bool is_claimed(const std::string& directory) {
    try {
        return DataFile::open(directory + "/samples.bin").isClaimed();
    } catch (const AccessFault&) {
        throw;
    } catch (const RecordingError&) {
        return false; // Whoever reads the file reports what is wrong with it.
    }
}

bool says_running(Database& index) {
    try {
        Statement query(index, "SELECT value FROM run WHERE key = 'state'");
        return query.step() && query.text(0) == "running";
    } catch (const RecordingError&) {
        return false; // Whoever reads the index reports what is wrong with it.
    }
}

std::unique_ptr<Database> opened_without_log(const std::string& directory,
                                             const std::string& name) {
    for (int waited = 0; waited < busyMilliseconds; ++waited) {
        // Asked first: once nobody claims the recording, its files stay as they are.
        const bool isClaimed = is_claimed(directory);
        const bool isInCommit = has_hot_journal(name);
        if (!isClaimed) {
            return isInCommit ? opened_copy(name, "-journal") : opened(name, "mode=ro&immutable=1");
        }
        if (!isInCommit) {
            auto database = opened(name, "mode=ro&immutable=1");
            if (says_running(*database)) {
                break;
            }
            // The last commit may have begun meanwhile.
            if (!has_hot_journal(name)) {
                return database;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    throw AccessFault(name, "a host is writing it without a log, as on network file systems; it "
                            "can be read when the run has ended");
}

} // namespace

std::unique_ptr<Database> open_index(const std::string& directory) {
    const std::string name = directory + "/index.sqlite";
    check_kinds(name);
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
    return opened_without_log(directory, name);
}

std::uint64_t row_count_limit(const std::string& name) {
    return (byte_count_of(name) + byte_count_of(name + "-wal")) / leastRowByteCount;
}

} // namespace logging2::core::detail
