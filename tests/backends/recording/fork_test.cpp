#include <tests/backends/recording/recordings.hpp>

#include <tests/allocation/ChildProcess.hpp>

#include <stdexcept>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

/// A writer with samples in the file, in full blocks and in a block.
class RecordingForkTest : public RecordingTest {
protected:
    RecordingForkTest() {
        options.chunkByteCount = 32;
        writer = makeWriter();
        writeTimes(*writer, {1.0, 2.0, 3.0});
        writer->flushIntermediate();
        writeTimes(*writer, {4.0});
    }

    /// The parent goes on as if there had been no child.
    void expectWholeRecording() {
        writeTimes(*writer, {5.0});
        writer->flush();
        const auto run = open(*writer);
        EXPECT_EQ(run->info().state, RunState::finished);
        EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0));
    }

    std::unique_ptr<RecordingStreamWriter> writer;
};

TEST_F(RecordingForkTest, everyCallInAChildIsALogicError) {
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        const double value = 0.0;
        EXPECT_THROW(writer->write(0, 9.0, &value, 1), std::logic_error);
        EXPECT_THROW(writer->rollback(0, 0.0), std::logic_error);
        EXPECT_THROW(writer->flushIntermediate(), std::logic_error);
        EXPECT_THROW(writer->flush(), std::logic_error);
        EXPECT_THROW(writer->close(), std::logic_error);
    })));
    expectWholeRecording();
}

TEST_F(RecordingForkTest, destructionInAChildTouchesNothing) {
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        alarm(20); // for a child that hangs
        writer.reset();
    })));
    EXPECT_EQ(open(*writer)->info().state, RunState::running);
    expectWholeRecording();
}

TEST_F(RecordingForkTest, childOfAChildDoesNotOwnItEither) {
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
            EXPECT_THROW(writer->flush(), std::logic_error);
            writer.reset();
        })));
    })));
    expectWholeRecording();
}

// ThreadSanitizer allows no threads in a child of a process with threads.
#ifndef __SANITIZE_THREAD__
TEST_F(RecordingForkTest, childMayMakeARecordingOfItsOwn) {
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        const auto own = makeWriter();
        writeTimes(*own, {7.0});
        own->flush();
        EXPECT_THAT(timesOf(*open(*own)), ElementsAre(7.0));
    })));
    expectWholeRecording();
}
#endif

TEST_F(RecordingForkTest, childReadsTheRecordingOfItsParent) {
    EXPECT_TRUE(exitedWithSuccess(status_of_child(
        [this] { EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0, 3.0)); })));
    expectWholeRecording();
}

TEST_F(RecordingForkTest, callsAfterTheEndAreLogicErrorsInAChild) {
    writeTimes(*writer, {5.0});
    writer->flush();
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        EXPECT_THROW(writer->flush(), std::logic_error);
        EXPECT_THROW(writer->flushIntermediate(), std::logic_error);
        writer.reset();
    })));
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0));
}

} // namespace
} // namespace logging2::core::test
