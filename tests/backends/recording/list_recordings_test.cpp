#include <tests/backends/recording/recordings.hpp>

#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/support/files.hpp>

#include <unistd.h>

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class ListRecordingsTest : public RecordingTest {
protected:
    std::vector<std::string> locations() const {
        std::vector<std::string> result;
        for (const RecordingEntry& entry : list_recordings(options.directory)) {
            result.push_back(entry.location);
        }
        return result;
    }

    /// A recording that is finished and closed.
    std::string record(const char* name) const {
        StreamingAttributes attributes;
        attributes.name = BasicTableString<char>(name);
        const auto writer = makeWriter(scalarSetup(), attributes);
        writer->flush();
        return writer->location();
    }
};

TEST_F(ListRecordingsTest, emptyDirectoryHasNone) {
    EXPECT_THAT(list_recordings(options.directory), IsEmpty());
}

TEST_F(ListRecordingsTest, newestComesFirst) {
    const std::string first = record("b");
    const std::string second = record("c");
    const std::string third = record("a");
    EXPECT_EQ(locations(), (std::vector<std::string>{third, second, first}));
}

TEST_F(ListRecordingsTest, damagedOnesComeLastByName) {
    const std::string second = record("b");
    const std::string first = record("a");
    const std::string whole = record("whole");
    fs::remove(first + "/samples.bin");
    fs::remove(second + "/index.sqlite");
    const auto entries = list_recordings(options.directory);
    EXPECT_EQ(locations(), (std::vector<std::string>{whole, first, second}));
    EXPECT_EQ(entries[0].fault, "");
    EXPECT_THAT(entries[1].fault, HasSubstr("samples.bin"));
    EXPECT_THAT(entries[2].fault, HasSubstr("index.sqlite: it does not exist"));
}

TEST_F(ListRecordingsTest, damagedOneIsKnownByEitherFile) {
    const std::string location = record("ball");
    const RunInfo info = open_recording(location)->info();
    for (const char* const file : {"/samples.bin", "/index.sqlite"}) {
        const std::string kept = location + file + ".kept";
        fs::rename(location + file, kept);
        const RecordingEntry entry = list_recordings(options.directory).front();
        EXPECT_NE(entry.fault, "");
        EXPECT_EQ(entry.info.id, info.id);
        EXPECT_EQ(entry.info.name, "ball");
        EXPECT_EQ(entry.info.start, info.start);
        EXPECT_EQ(entry.info.process, std::to_string(getpid()));
        EXPECT_EQ(entry.info.host, info.host);
        EXPECT_EQ(entry.info.libraryVersion, info.libraryVersion);
        fs::rename(kept, location + file);
    }
    fs::remove(location + "/samples.bin");
    fs::remove(location + "/index.sqlite");
    EXPECT_EQ(list_recordings(options.directory).front().info.id, "");
}

TEST_F(ListRecordingsTest, tellsWhatIsKnownAboutTheRun) {
    options.properties = {{"model", "ball"}};
    const std::string finished = record("finished");
    const auto writer = makeWriter();
    const auto entries = list_recordings(options.directory);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].info.state, RunState::running);
    EXPECT_EQ(entries[1].info.name, "finished");
    EXPECT_EQ(entries[1].info.properties, options.properties);
    EXPECT_EQ(entries[1].info.state, RunState::finished);
}

TEST_F(ListRecordingsTest, otherFilesAndDirectoriesAreLeftOut) {
    fs::create_directory(directory.path() / "results");
    writeBytes(directory.path() / "file.recording", "no directory");
    const std::string location = record("a");
    fs::create_directory(directory.path() / "empty.recording");
    EXPECT_EQ(locations(), (std::vector<std::string>{
                               location, (directory.path() / "empty.recording").string()}));
}

TEST_F(ListRecordingsTest, entryThatCannotBeEnteredHasAFault) {
    const std::string location = record("a");
    fs::create_symlink("loop.recording", directory.path() / "loop.recording");
    fs::create_symlink("nowhere", directory.path() / "nowhere.recording");
    fs::create_directories(directory.path() / "locked" / "b.recording");
    fs::create_symlink("locked/b.recording", directory.path() / "b.recording");
    const OrdinaryPermissions ordinary;
    fs::permissions(directory.path() / "locked", fs::perms::none);
    const auto entries = list_recordings(options.directory);
    fs::permissions(directory.path() / "locked", fs::perms::owner_all);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].location, location);
    EXPECT_THAT(entries[1].fault, HasSubstr("b.recording: cannot open it: Permission denied"));
    EXPECT_THAT(entries[2].fault, HasSubstr("loop.recording: cannot open it: Too many levels"));
}

TEST_F(ListRecordingsTest, missingDirectoryIsAnError) {
    const std::string missing = options.directory + "/missing";
    EXPECT_THAT([&] { list_recordings(missing); },
                ThrowsMessage<RecordingError>(HasSubstr(missing + ": cannot read it: ")));
}

} // namespace
} // namespace logging2::core::test
