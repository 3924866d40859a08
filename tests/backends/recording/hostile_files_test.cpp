#include <tests/backends/recording/damaged_recordings.hpp>

#include <sys/stat.h>

// Files that were made to stop their readers.

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class HostileRecordingTest : public DamagedRecordingTest {
protected:
    /// Every way to read the recording ends with the text.
    void expectFault(const std::string& text) const {
        EXPECT_THAT([this] { readAll(); }, ThrowsMessage<RecordingError>(HasSubstr(text)));
        EXPECT_THAT(check_recording(location.string()).findings.at(0), HasSubstr(text));
        EXPECT_THAT([this] { copy_recording(location.string(), location.string() + ".new"); },
                    ThrowsMessage<RecordingError>(HasSubstr(text)));
        EXPECT_THAT(list_recordings(options.directory).at(0).fault, HasSubstr(text));
    }
};

TEST_F(HostileRecordingTest, namedPipesAreNotOpened) {
    for (const char* name : {"index.sqlite-shm", "index.sqlite-wal", "index.sqlite-journal",
                             "samples.bin", "index.sqlite"}) {
        fs::remove(location / name);
        ASSERT_EQ(mkfifo((location / name).c_str(), 0600), 0);
        expectFault(std::string(name) + ": it is not a regular file");
        if (*name == 's') {
            EXPECT_THAT([&] { rebuild_recording(location.string(), location.string() + ".new"); },
                        ThrowsMessage<RecordingError>(HasSubstr("it is not a regular file")));
        }
        fs::remove(location / name);
    }
}

TEST_F(HostileRecordingTest, filesMayBeSymbolicLinks) {
    for (const char* name : {"samples.bin", "index.sqlite"}) {
        fs::rename(location / name, directory.path() / name);
        fs::create_symlink(directory.path() / name, location / name);
    }
    EXPECT_NO_THROW(readAll());
}

TEST_F(HostileRecordingTest, viewIsNotReadInPlaceOfATable) {
    for (const char* table : {"run", "property", "signal_group", "channel", "path", "chunk"}) {
        run_sql(index(), std::string("ALTER TABLE ") + table + " RENAME TO other; CREATE VIEW " +
                             table +
                             " AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
                             "SELECT i AS position, i AS key, i AS value, i AS hash, i AS id, "
                             "i AS signal_group, i AS text FROM n");
        expectFault("is not that of a recording");
        run_sql(index(),
                std::string("DROP VIEW ") + table + "; ALTER TABLE other RENAME TO " + table);
    }
}

/// Writes a number, the highest byte first, as SQLite does.
void put(std::string& bytes, std::size_t offset, std::size_t byteCount, std::size_t number) {
    for (std::size_t i = 0; i < byteCount; ++i) {
        bytes.at(offset + i) = static_cast<char>(number >> (8 * (byteCount - 1 - i)));
    }
}

/// A page of a table's tree of which all children are the same page.
std::string page_of(std::size_t child, std::size_t pageByteCount) {
    constexpr std::size_t cellCount = 100;
    constexpr std::size_t cellByteCount = 5;
    std::string page(pageByteCount, '\0');
    const std::size_t firstCell = pageByteCount - cellCount * cellByteCount;
    put(page, 0, 1, 5);
    put(page, 3, 2, cellCount);
    put(page, 5, 2, firstCell);
    put(page, 8, 4, child);
    for (std::size_t cell = 0; cell < cellCount; ++cell) {
        put(page, 12 + 2 * cell, 2, firstCell + cellByteCount * cell);
        put(page, firstCell + cellByteCount * cell, 4, child);
    }
    return page;
}

TEST_F(HostileRecordingTest, endlessTableIsNotReadForEver) {
    const auto root = static_cast<std::size_t>(
        number_in(index(), "SELECT rootpage FROM sqlite_schema WHERE name = 'signal_group'"));
    const auto size = static_cast<std::size_t>(number_in(index(), "PRAGMA page_size"));
    std::string bytes = bytesOf(index());
    const std::size_t pageCount = bytes.size() / size;
    constexpr std::size_t levelCount = 8;
    for (std::size_t level = 1; level < levelCount; ++level) {
        bytes += page_of(pageCount + level + 1, size);
    }
    bytes += bytes.substr((root - 1) * size, size);
    bytes.replace((root - 1) * size, size, page_of(pageCount + 1, size));
    put(bytes, 28, 4, pageCount + levelCount);
    writeBytes(index(), bytes);
    EXPECT_THROW(readAll(), RecordingError);
    EXPECT_GT(check_recording(location.string()).findingCount, 0U);
}

} // namespace
} // namespace logging2::core::test
