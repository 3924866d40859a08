#include <tests/backends/recording/recordings.hpp>

#include <tests/support/FailingCalls.hpp>
#include <tests/support/files.hpp>

#include <cerrno>
#include <filesystem>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

class RecordingFailingCallsTest : public RecordingTest {
protected:
    /// No writer can be made, for that reason, and nothing is left of it.
    void expectNoWriter(const char* reason) const {
        EXPECT_THAT([this] { makeWriter(); }, ThrowsMessage<RecordingError>(HasSubstr(reason)));
        EXPECT_THAT(directory.names(), IsEmpty());
    }
};

TEST_F(RecordingFailingCallsTest, failedConstructionLeavesNothing) {
    struct Failure {
        Call call;
        const char* nameEnd;
        int error;
        const char* reason;
    };
    for (const auto& [call, nameEnd, error, reason] :
         {Failure{Call::makeDirectory, ".recording", EACCES, "Permission denied"},
          Failure{Call::changeMode, ".recording", EPERM, "Operation not permitted"},
          Failure{Call::open, "samples.bin", EMFILE, "Too many open files"},
          Failure{Call::changeMode, "samples.bin", EPERM, "Operation not permitted"},
          Failure{Call::lock, "samples.bin", ENOLCK, "No locks available"},
          Failure{Call::write, "samples.bin", ENOSPC, "No space left on device"},
          Failure{Call::open, "index.sqlite", ENFILE, "Too many open files in system"},
          Failure{Call::write, "index.sqlite-wal", ENOSPC, "disk is full"}}) {
        SCOPED_TRACE(::testing::PrintToString(call) + " " + nameEnd);
        const FailingCalls calls(call, nameEnd, {fails(error)});
        expectNoWriter(reason);
        EXPECT_GE(calls.count(), 1U);
    }
}

TEST_F(RecordingFailingCallsTest, readersThatLockTheNewFileAreWaitedFor) {
    const FailingCalls calls(Call::lock, "samples.bin", {fails(EWOULDBLOCK), fails(EWOULDBLOCK)});
    EXPECT_NO_THROW(makeWriter());
    EXPECT_GE(calls.count(), 3U);
}

TEST_F(RecordingFailingCallsTest, fileIsClaimedBeforeThereIsAnIndex) {
    const FailingCalls locks(Call::lock, "samples.bin", {});
    std::size_t lockCount = 0;
    const FailingCalls opens(Call::open, "index.sqlite",
                             {works([&] { lockCount = locks.count(); })});
    const auto writer = makeWriter();
    EXPECT_EQ(lockCount, 1U);
}

TEST_F(RecordingFailingCallsTest, nameThatIsTakenIsDrawnAgain) {
    const FailingCalls calls(Call::makeDirectory, ".recording", {fails(EEXIST), fails(EEXIST)});
    const auto writer = makeWriter();
    EXPECT_EQ(calls.count(), 3U);
    writer->flush();
    EXPECT_EQ(open(*writer)->info().state, RunState::finished);
}

TEST_F(RecordingFailingCallsTest, shortAndInterruptedWritesAreContinued) {
    const auto writer = makeWriter();
    const FailingCalls calls(Call::write, "samples.bin",
                             {transfers(10), fails(EINTR), transfers(100), works()});
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    EXPECT_GE(calls.count(), 4U);
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0));
}

TEST_F(RecordingFailingCallsTest, writeThatTransfersNothingMeansAFullDisk) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    const FailingCalls calls(Call::write, "samples.bin", {transfers(0)});
    EXPECT_THAT([&] { writer->flushIntermediate(); },
                ThrowsMessage<RecordingError>(HasSubstr("No space left on device")));
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

TEST_F(RecordingFailingCallsTest, fileThatStaysLockedCannotBeClaimed) {
    const FailingCalls calls(Call::lock, "samples.bin",
                             std::vector<Outcome>(10'000, fails(EWOULDBLOCK)));
    expectNoWriter("Resource temporarily unavailable");
}

TEST_F(RecordingFailingCallsTest, logThatCannotBeCopiedIsReported) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    const TemporaryDirectory other;
    for (const char* name : {"samples.bin", "index.sqlite", "index.sqlite-wal"}) {
        std::filesystem::copy(writer->location() + "/" + name, other.path());
    }
    const FailingCalls calls(Call::open, "index.sqlite-wal", {fails(EACCES)});
    EXPECT_THAT([&] { open_recording(other.path().string()); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot copy it and its log")));
}

TEST_F(RecordingFailingCallsTest, journalOfACommitThatEndsMeanwhileIsPassedOver) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flush();
    const std::string journal = writer->location() + "/index.sqlite-journal";
    writeBytes(journal, "not complete");
    const FailingCalls calls(Call::lock, "samples.bin",
                             {works([&] { std::filesystem::remove(journal); })});
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

TEST_F(RecordingFailingCallsTest, shortAndInterruptedReadsAreContinued) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    writeTimes(*writer, {3.0});
    writer->flush();
    const FailingCalls calls(Call::read, "samples.bin",
                             {transfers(10), fails(EINTR), works(), transfers(130), transfers(1)});
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_GT(calls.count(), 5U);
}

TEST_F(RecordingFailingCallsTest, readErrorIsARecordingError) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    const auto run = open(*writer);
    const FailingCalls calls(Call::read, "samples.bin", {fails(EIO)});
    EXPECT_THAT([&] { run->series(ValuePath("x")); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot read it: Input/output error")));
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
}

TEST_F(RecordingFailingCallsTest, everySynchronizationMayFailAndNothingIsLost) {
    options.durability = Durability::power;
    for (const char* file : {"samples.bin", "index.sqlite-wal"}) {
        const auto writer = makeWriter();
        writeTimes(*writer, {1.0});
        const FailingCalls calls(Call::synchronize, file, {fails(EIO)});
        EXPECT_THROW(writer->flushIntermediate(), RecordingError) << file;
        EXPECT_THAT(timesOf(*open(*writer)), ::testing::AnyOf(IsEmpty(), ElementsAre(1.0)));
        writer->flush();
        EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
        EXPECT_EQ(open(*writer)->info().revision, 0U);
    }
}

TEST_F(RecordingFailingCallsTest, withoutPowerDurabilityNothingIsSynchronized) {
    const FailingCalls calls(Call::synchronize, "", {});
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    EXPECT_EQ(calls.count(), 0U);
}

} // namespace
} // namespace logging2::core::test
