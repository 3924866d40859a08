#include <tests/backends/recording/recordings.hpp>

#include <tests/support/files.hpp>

#include <thread>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordingRefreshTest : public RecordingTest {};

TEST_F(RecordingRefreshTest, isFalseWhileNothingHappens) {
    const auto writer = makeWriter();
    const auto run = open(*writer);
    EXPECT_FALSE(run->refresh());
    writeTimes(*writer, {1.0});
    EXPECT_FALSE(run->refresh()) << "the sample is not stored yet";
    writer->flush();
    EXPECT_TRUE(run->refresh());
    EXPECT_FALSE(run->refresh());
}

TEST_F(RecordingRefreshTest, isTrueIfSamplesWereAdded) {
    const auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    EXPECT_TRUE(run->refresh());
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
}

TEST_F(RecordingRefreshTest, isFalseIfOnlyHeldBackStepsWereAdded) {
    options.heldBackSteps = 4;
    options.chunkByteCount = 16;
    const auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0, 2.0, 3.0, 4.0});
    // A rollback behind the block waits until all blocks are committed.
    writer->rollback(0, 3.0);
    EXPECT_FALSE(run->refresh());
    EXPECT_THAT(timesOf(*run), IsEmpty());
}

TEST_F(RecordingRefreshTest, isFalseIfFlushIntermediateShowsNothingNew) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    writer->flushIntermediate();
    EXPECT_FALSE(run->refresh());
}

TEST_F(RecordingRefreshTest, isTrueIfOnlyTheStateChanged) {
    auto writer = makeWriter();
    const auto run = open(*writer);
    writer.reset();
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().state, RunState::interrupted);
    EXPECT_FALSE(run->refresh());
}

TEST_F(RecordingRefreshTest, reportsThatShownStepsWereUndone) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0, 3.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    writer->rollback(0, 2.0);
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().revision, 1U);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
    writer->rollback(0, 2.0);
    EXPECT_FALSE(run->refresh()) << "nothing was later";
}

TEST_F(RecordingRefreshTest, revisionStaysIfTheStepsWereHeldBack) {
    options.heldBackSteps = 2;
    options.chunkByteCount = 16;
    const auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0, 2.0, 3.0, 4.0});
    writer->rollback(0, 2.0);
    writeTimes(*writer, {2.5});
    writer->flushIntermediate();
    run->refresh();
    EXPECT_EQ(run->info().revision, 0U);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 2.5));
}

TEST_F(RecordingRefreshTest, samplesAreCommittedAfterTheIntervalWithoutACall) {
    options.commitInterval = std::chrono::milliseconds(1);
    const auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0, 2.0});
    while (run->groups()[0].stepCount < 2) {
        run->refresh();
        std::this_thread::yield();
    }
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
}

TEST_F(RecordingRefreshTest, openRunSeesTheWholeLifeOfItsWriter) {
    auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0});
    writer->flush();
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().state, RunState::finished);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
    writer.reset();
    EXPECT_FALSE(run->refresh());
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
}

TEST_F(RecordingRefreshTest, readingChangesNoFileOfAFinishedRecording) {
    auto writer = makeWriter();
    const std::filesystem::path location = writer->location();
    writeTimes(*writer, {1.0});
    writer->flush();
    writer.reset();
    const auto content = [&] {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(location)) {
            result.push_back(entry.path().filename().string() + bytesOf(entry.path()));
        }
        std::sort(result.begin(), result.end());
        return result;
    };
    const auto former = content();
    EXPECT_EQ(former.size(), 2U);
    const auto run = open_recording(location.string());
    timesOf(*run);
    run->refresh();
    EXPECT_EQ(content(), former);
}

} // namespace
} // namespace logging2::core::test
