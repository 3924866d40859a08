#include <tests/allocation/native_subjects.hpp>

// The flushes of the file-backed writer while every allocation of the caller's thread fails once:
// no sample is lost, and the next call writes what is missing.

namespace logging2::core::test {
namespace {

using NativeFlushSweepTest = NativeSweepTest;

NativeSubject writer_with_rows() {
    NativeSubject subject;
    subject.write(0, {1.0, 2.0});
    subject.write(1, {1.0, 2.0, 3.0});
    return subject;
}

TEST_F(NativeFlushSweepTest, failedFlushIntermediateLosesNothing) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flushIntermediate", "the next flush writes every sample once",
        writer_with_rows, [](NativeSubject& subject) { subject.writer->flushIntermediate(); },
        [](NativeSubject& subject, Attempt) {
            subject.write(0, {3.0});
            subject.writer->flush();
            subject.expectInFiles(0, {1.0, 2.0, 3.0});
            subject.expectInFiles(1, {1.0, 2.0, 3.0});
        });
}

TEST_F(NativeFlushSweepTest, failedSecondFlushIntermediateLosesNothing) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flushIntermediate, the second", "the next call writes every sample",
        [] {
            NativeSubject subject = writer_with_rows();
            subject.writer->flushIntermediate();
            subject.write(0, {3.0, 4.0});
            return subject;
        },
        [](NativeSubject& subject) { subject.writer->flushIntermediate(); },
        [](NativeSubject& subject, Attempt) {
            subject.writer->flushIntermediate();
            subject.expectInFiles(0, {1.0, 2.0, 3.0, 4.0});
            subject.expectInFiles(1, {1.0, 2.0, 3.0});
        });
}

TEST_F(NativeFlushSweepTest, failedFlushIntermediateLeavesTheRowsToTheThread) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flushIntermediate, while the thread runs",
        "the batches after it contain every sample once",
        [] {
            NativeSubject subject;
            Access::setBufferSize(*subject.writer, 0, 3);
            subject.write(0, {1.0, 2.0, 3.0});
            Access::waitUntilTaken(*subject.writer);
            subject.write(0, {4.0, 5.0});
            return subject;
        },
        [](NativeSubject& subject) { subject.writer->flushIntermediate(); },
        [](NativeSubject& subject, Attempt) {
            subject.write(0, {6.0});
            subject.writer->flush();
            subject.expectInFiles(0, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
        });
}

TEST_F(NativeFlushSweepTest, nextFlushCompletesAFailedFlush) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flush", "a second flush writes what is missing", writer_with_rows,
        [](NativeSubject& subject) { subject.writer->flush(); },
        [](NativeSubject& subject, Attempt attempt) {
            if (attempt.threw) {
                subject.writer->flush();
            }
            subject.expectInFiles(0, {1.0, 2.0});
            subject.expectInFiles(1, {1.0, 2.0, 3.0});
        });
}

// The thread has been joined then, and a second flush would join it again.
TEST_F(NativeFlushSweepTest, flushIntermediateCompletesAFlushThatFailedAfterTheJoin) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flush, joining the thread",
        "the thread is joined, flushIntermediate writes what is missing",
        [] {
            NativeSubject subject;
            Access::setBufferSize(*subject.writer, 0, 2);
            subject.write(1, {1.0, 2.0});
            subject.write(0, {1.0, 2.0, 3.0});
            return subject;
        },
        [](NativeSubject& subject) { subject.writer->flush(); },
        [](NativeSubject& subject, Attempt attempt) {
            if (attempt.threw) {
                subject.writer->flushIntermediate();
            }
            subject.expectInFiles(0, {1.0, 2.0, 3.0});
            subject.expectInFiles(1, {1.0, 2.0});
        });
}

// Samples that are in no file are dropped. Each file contains all or none of the batch that failed.
TEST_F(NativeFlushSweepTest, clearBufferAfterAFailedFlushDropsUnwrittenSamples) {
    expect_every_failure_propagates(
        "NativeStreamWriter: flushIntermediate, then clearBuffer",
        "each file has all or none of the batch",
        [] {
            NativeSubject subject;
            subject.write(1, {1.0, 2.0});
            return subject;
        },
        [](NativeSubject& subject) { subject.writer->flushIntermediate(); },
        [](NativeSubject& subject, Attempt attempt) {
            subject.writer->clearBuffer();
            subject.write(1, {3.0});
            subject.writer->flush();
            const auto times = subject.timesIn(secondGroupPath);
            const auto values = subject.valuesIn(secondGroupPath);
            EXPECT_TRUE(times == std::vector({3.0}) || times == std::vector({1.0, 2.0, 3.0}));
            EXPECT_TRUE(values == std::vector({-3.0}) || values == std::vector({-1.0, -2.0, -3.0}));
            EXPECT_EQ(times.size(), values.size());
            EXPECT_TRUE(attempt.threw || values.size() == 3);
        });
}

TEST_F(NativeFlushSweepTest, appendAllocatesNothing) {
    const std::string file = (directory.path() / "a-file-whose-name-is-long").string();
    expect_no_allocation(
        "NativeStreamWriter: write to a file", [] { return NativeSubject(); },
        [&](NativeSubject& subject) { EXPECT_TRUE(subject.writer->write(file, "ab", 2)); });
    EXPECT_EQ(bytesOf(file).substr(0, 4), "abab");
}

} // namespace
} // namespace logging2::core::test
