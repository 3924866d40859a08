#include <tests/native/native_writers.hpp>
#include <tests/support/FailingCalls.hpp>
#include <tests/system/batches.hpp>

#include <cerrno>
#include <cstring>
#include <memory>

// System calls that fail while the caller or the background thread appends a batch.

namespace logging2::core::test {
namespace {

enum class Appender { caller, thread };

void PrintTo(Appender appender, std::ostream* stream) {
    *stream << (appender == Appender::caller ? "caller" : "thread");
}

constexpr std::size_t smallBatch = 3;
constexpr std::size_t largeBatch = 3000; // several pages of each file

class AppendErrorsTest : public NativeStreamWriterTest,
                         public ::testing::WithParamInterface<Appender> {
protected:
    void append(std::size_t batch, std::size_t rowCount) {
        const bool byThread = GetParam() == Appender::thread;
        Access::setBufferSize(*writer, 0, byThread ? rowCount : 100 * rowCount);
        for (const double row : Batches({batch}, rowCount).times) {
            write(*writer, 0, row, {10.0 * row, 100.0 * row, 100.0 * row + 1.0});
        }
        if (byThread) {
            Access::waitUntilTaken(*writer);
        } else {
            writer->flushIntermediate();
        }
        EXPECT_EQ(Access::hasThread(*writer), byThread);
    }

    /// Makes a new writer append three batches. During the second, the calls have these outcomes.
    void appendThree(std::size_t rowCount, Call call, const std::string& nameEnd,
                     const std::vector<Outcome>& outcomes) {
        writer = std::make_unique<NativeStreamWriter>(StreamingAttributes{}, mixedWidthSetup());
        append(0, rowCount);
        {
            const FailingCalls calls(call, nameEnd, outcomes);
            EXPECT_NO_THROW(append(1, rowCount));
            EXPECT_GE(calls.count(), outcomes.size()) << "some outcomes were not used";
        }
        append(2, rowCount);
        EXPECT_NO_THROW(writer->flush());
    }

    void expectTimesAndPairs(const Batches& expected) const {
        EXPECT_EQ(timesIn(*writer, "a"), expected.times);
        EXPECT_EQ(valuesIn(*writer, "b"), expected.pairs);
    }

    void expectScalars(const std::string& bytes) const {
        EXPECT_EQ(bytesOf(valuesFile(*writer, "a")), bytes);
    }

    std::unique_ptr<NativeStreamWriter> writer;
};

TEST_P(AppendErrorsTest, failedOpenLosesTheBatchOnlyInThatFile) {
    for (const int error : {EACCES, EMFILE, ENFILE, ENOENT, ENOSPC, EROFS, EIO, EINTR, ENOMEM}) {
        SCOPED_TRACE(std::strerror(error));
        appendThree(smallBatch, Call::open, "values_0_7", {fails(error)});
        expectTimesAndPairs(Batches({0, 1, 2}, smallBatch));
        expectScalars(asBytes(Batches({0, 2}, smallBatch).scalars));
    }
}

TEST_P(AppendErrorsTest, failedWriteLosesTheBatchOnlyInThatFile) {
    for (const std::size_t rowCount : {smallBatch, largeBatch}) {
        for (const int error : {ENOSPC, EDQUOT, EFBIG, EIO}) {
            SCOPED_TRACE(std::strerror(error));
            appendThree(rowCount, Call::write, "values_0_7", {fails(error)});
            expectTimesAndPairs(Batches({0, 1, 2}, rowCount));
            expectScalars(asBytes(Batches({0, 2}, rowCount).scalars));
        }
    }
}

TEST_P(AppendErrorsTest, failedWriteOfTimesKeepsTheValues) {
    appendThree(smallBatch, Call::write, "times_0", {fails(ENOSPC)});
    EXPECT_EQ(timesIn(*writer, "a"), Batches({0, 2}, smallBatch).times);
    EXPECT_EQ(valuesIn(*writer, "b"), Batches({0, 1, 2}, smallBatch).pairs);
    expectScalars(asBytes(Batches({0, 1, 2}, smallBatch).scalars));
}

// Nothing is undone: the part of the column that was written stays, and the next batch follows it.
TEST_P(AppendErrorsTest, fullDiskWithinAColumnKeepsItsBeginning) {
    for (const std::size_t rowCount : {smallBatch, largeBatch}) {
        appendThree(rowCount, Call::write, "values_0_7", {transfers(20), fails(ENOSPC)});
        expectTimesAndPairs(Batches({0, 1, 2}, rowCount));
        expectScalars(asBytes(Batches({0}, rowCount).scalars) +
                      asBytes(Batches({1}, rowCount).scalars).substr(0, 20) +
                      asBytes(Batches({2}, rowCount).scalars));
    }
}

TEST_P(AppendErrorsTest, partialWriteIsContinued) {
    for (const std::size_t rowCount : {smallBatch, largeBatch}) {
        appendThree(rowCount, Call::write, "values_0_7",
                    {transfers(1), transfers(7), transfers(8), transfers(3)});
        expectTimesAndPairs(Batches({0, 1, 2}, rowCount));
        expectScalars(asBytes(Batches({0, 1, 2}, rowCount).scalars));
    }
}

TEST_P(AppendErrorsTest, interruptedWriteIsRepeated) {
    for (const std::size_t rowCount : {smallBatch, largeBatch}) {
        appendThree(rowCount, Call::write, "values_0_7",
                    {fails(EINTR), transfers(5), fails(EINTR), fails(EINTR)});
        expectTimesAndPairs(Batches({0, 1, 2}, rowCount));
        expectScalars(asBytes(Batches({0, 1, 2}, rowCount).scalars));
    }
}

TEST_P(AppendErrorsTest, failedCloseLosesNothing) {
    for (const int error : {EIO, ENOSPC, EDQUOT, EINTR}) {
        SCOPED_TRACE(std::strerror(error));
        appendThree(smallBatch, Call::close, "values_0_7", {fails(error)});
        expectTimesAndPairs(Batches({0, 1, 2}, smallBatch));
        expectScalars(asBytes(Batches({0, 1, 2}, smallBatch).scalars));
    }
}

INSTANTIATE_TEST_SUITE_P(By, AppendErrorsTest,
                         ::testing::Values(Appender::caller, Appender::thread),
                         ::testing::PrintToStringParamName());

class AppendResultTest : public NativeStreamWriterTest {
protected:
    NativeStreamWriter writer{StreamingAttributes{}, scalarSetup()};
    std::string file = directory.path() / "file";
};

TEST_F(AppendResultTest, isFalseIfTheFileCannotBeOpened) {
    for (const int error : {EACCES, EMFILE, ENOSPC}) {
        const FailingCalls opens(Call::open, "file", {fails(error)});
        EXPECT_FALSE(writer.write(file, "1", 1));
    }
}

TEST_F(AppendResultTest, isTrueAfterAnyLaterFailure) {
    for (const Call call : {Call::write, Call::close}) {
        const FailingCalls calls(call, "file", {fails(EIO)});
        EXPECT_TRUE(writer.write(file, "1", 1));
        EXPECT_EQ(calls.count(), 1U);
    }
    EXPECT_EQ(bytesOf(file), "1");
}

} // namespace
} // namespace logging2::core::test
