#include <tests/backends/recording/damaged_recordings.hpp>

#include <sys/statfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

// Recordings on a network file system, whose indexes have a journal instead of a log.

namespace {

std::atomic<bool> isRemote{false};

} // namespace

/// Replaces that of the C library.
extern "C" int statfs(const char* path, struct statfs* status) noexcept {
    const long result = syscall(SYS_statfs, path, status);
    if (isRemote) {
        status->f_type = 0x6969; // NFS
    }
    return static_cast<int>(result);
}

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class RemoteRecordingTest : public RecordingTest {
protected:
    RemoteRecordingTest() { isRemote = true; }
    ~RemoteRecordingTest() override { isRemote = false; }
};

TEST_F(RemoteRecordingTest, runCannotBeReadBeforeItsEnd) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    const auto isRefused = ThrowsMessage<RecordingError>(HasSubstr("a host is writing it"));
    EXPECT_THAT([&] { open(*writer); }, isRefused);
    EXPECT_THAT([&] { check_recording(writer->location()); }, isRefused);
    EXPECT_THAT([&] { copy_recording(writer->location(), options.directory + "/copy"); },
                isRefused);
    EXPECT_THAT(list_recordings(options.directory).at(0).fault, HasSubstr("a host is writing it"));
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
    EXPECT_THAT(check_recording(writer->location()).findings, IsEmpty());
}

TEST_F(RemoteRecordingTest, interruptedRunCanBeRead) {
    auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    const std::string location = writer->location();
    writer.reset();
    EXPECT_THAT(timesOf(*open_recording(location)), ElementsAre(1.0));
}

/// A finished recording, and what a host leaves that is killed in a commit.
class UnfinishedCommitTest : public DamagedRecordingTest {
protected:
    UnfinishedCommitTest() {
        sqlite3* database = nullptr;
        sqlite3_open(index().c_str(), &database);
        sqlite3_exec(database,
                     "BEGIN; DELETE FROM chunk; UPDATE run SET value = 'x'; DROP TABLE path",
                     nullptr, nullptr, nullptr);
        sqlite3_db_cacheflush(database);
        fs::copy_file(index(), directory.path() / "index");
        fs::copy_file(location / "index.sqlite-journal", directory.path() / "journal");
        sqlite3_close(database);
        fs::rename(directory.path() / "index", index());
        fs::rename(directory.path() / "journal", location / "index.sqlite-journal");
    }
};

TEST_F(UnfinishedCommitTest, isUndoneForReaders) {
    const std::string before = bytesOf(index());
    readAll();
    EXPECT_EQ(opened()->groups().at(0).stepCount, stepCount);
    EXPECT_THAT(check_recording(location.string()).findings, IsEmpty());
    copy_recording(location.string(), location.string() + ".new");
    EXPECT_THAT(check_recording(location.string() + ".new").findings, IsEmpty());
    EXPECT_EQ(bytesOf(index()), before);
    EXPECT_TRUE(fs::exists(location / "index.sqlite-journal"));
}

TEST_F(UnfinishedCommitTest, isNotSeenIfTheJournalIsComplete) {
    const fs::path journal = location / "index.sqlite-journal";
    std::string bytes = bytesOf(journal);
    std::fill_n(bytes.begin(), 28, '\0');
    writeBytes(journal, bytes);
    EXPECT_THROW(readAll(), RecordingError);
}

} // namespace
} // namespace logging2::core::test
