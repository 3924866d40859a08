#include <tests/backends/recording/rebuilt_recordings.hpp>

#include <tests/support/OrdinaryPermissions.hpp>

// rebuild_recording: where it works, and how it ends.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

TEST_F(RebuildRecordingTest, recordingThatIsBeingWrittenIsRefused) {
    const auto writer = makeWriter();
    location = writer->location();
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("a host is still writing it")));
    EXPECT_THAT(made.names(), IsEmpty());
}

TEST_F(RebuildRecordingTest, flushedRunNeedsNoEndOfItsWriter) {
    const auto writer = makeWriter();
    location = writer->location();
    writeTimes(*writer, {1.0});
    writer->flush();
    EXPECT_THAT(timesOf(*rebuilt()), ElementsAre(1.0));
}

TEST_F(RebuildRecordingTest, existingPlaceIsRefusedAndLeftAlone) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    fs::create_directory(newName());
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("it exists already")));
    EXPECT_TRUE(fs::is_empty(newName()));
}

TEST_F(RebuildRecordingTest, missingRecordingIsAnError) {
    location = made.path() / "none";
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("it is not a directory")));
}

TEST_F(RebuildRecordingTest, sourceNeedsNoWritePermission) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    const OrdinaryPermissions ordinary;
    fs::permissions(samples(), fs::perms::owner_read);
    fs::permissions(location, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_THAT(timesOf(*rebuilt()), ElementsAre(1.0));
    fs::permissions(location, fs::perms::owner_all);
}

TEST_F(RebuildRecordingTest, progressGrowsToTheTotal) {
    record([](auto& writer) {
        writeChunk(writer, 0, 10);
        writeChunk(writer, 10, 10);
    });
    std::vector<std::uint64_t> calls;
    const std::uint64_t expectedTotal = 3 * fs::file_size(samples());
    rebuild_recording(location.string(), newName(), {},
                      [&](std::uint64_t read, std::uint64_t total) {
                          calls.push_back(read);
                          EXPECT_EQ(total, expectedTotal);
                      });
    EXPECT_THAT(calls, SizeIs(5));
    EXPECT_TRUE(std::is_sorted(calls.begin(), calls.end()));
    EXPECT_EQ(calls.back(), expectedTotal);
}

TEST_F(RebuildRecordingTest, exceptionOfTheProgressLeavesNothing) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    for (int callCount = 0; callCount < 3; ++callCount) {
        int left = callCount;
        const auto stop = [&](std::uint64_t, std::uint64_t) {
            if (left-- == 0) {
                throw std::runtime_error("stopped");
            }
        };
        EXPECT_THROW(rebuild_recording(location.string(), newName(), {}, stop), std::runtime_error);
        EXPECT_THAT(made.names(), IsEmpty());
    }
}

} // namespace
} // namespace logging2::core::test
