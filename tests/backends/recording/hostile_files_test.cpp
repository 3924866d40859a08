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

} // namespace
} // namespace logging2::core::test
