#include <tests/native/BlockingFile.hpp>
#include <tests/native/native_writers.hpp>

#include <future>

// What can happen to a batch in the slot. Each test drives the threads step by step.
// waiting_test.cpp tests that the caller waits for a batch that is being written.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamWriterHandOffTest : public NativeStreamWriterTest {
protected:
    NativeStreamWriterHandOffTest() {
        Access::setBufferSize(writer, 0, 2);
        Access::setBufferSize(writer, 1, 2);
    }

    /// Makes the writer hand over to a thread that starts its first pass when the gate opens.
    void holdThread() { Access::startBehindGate(writer, gate.get_future()); }

    NativeStreamWriter writer{StreamingAttributes{}, scalarGroups({0, 1})};
    std::promise<void> gate;
};

TEST_F(NativeStreamWriterHandOffTest, batchTakenInTimeIsWritten) {
    writeTimes(writer, 0, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    writeTimes(writer, 1, {3.0, 4.0});
    Access::waitUntilTaken(writer);
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
}

TEST_F(NativeStreamWriterHandOffTest, nextBatchReplacesABatchThatWasNotTaken) {
    holdThread();
    writeTimes(writer, 0, {1.0, 2.0});
    EXPECT_TRUE(Access::isReady(writer));
    writeTimes(writer, 0, {3.0, 4.0, 5.0});
    gate.set_value();
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(3.0, 4.0, 5.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(30.0, 40.0, 50.0));
}

// If groups of the same size are written alternately, their buffers fill on consecutive calls.
TEST_F(NativeStreamWriterHandOffTest, batchOfOneGroupReplacesABatchOfAnother) {
    holdThread();
    writeTimes(writer, 0, {1.0});
    writeTimes(writer, 1, {1.0});
    writeTimes(writer, 0, {2.0});
    writeTimes(writer, 1, {2.0});
    gate.set_value();
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(1.0, 2.0));
}

TEST_F(NativeStreamWriterHandOffTest, stopBeforeTheFirstPassStillWritesTheBatch) {
    Access::startWhenStopIsRequested(writer);
    writeTimes(writer, 0, {1.0, 2.0, 3.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(NativeStreamWriterHandOffTest, stopWithoutABatchEndsTheThread) {
    Access::startWhenStopIsRequested(writer);
    writer.flush();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterHandOffTest, stopEndsAWaitingThread) {
    writeTimes(writer, 0, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
}

TEST_F(NativeStreamWriterHandOffTest, flushIntermediateDropsAWaitingBatchIfRowsExist) {
    holdThread();
    writeTimes(writer, 0, {1.0, 2.0});
    writeTimes(writer, 1, {3.0});
    writer.flushIntermediate();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
    gate.set_value();
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
}

TEST_F(NativeStreamWriterHandOffTest, flushIntermediateWithoutRowsKeepsAWaitingBatch) {
    holdThread();
    writeTimes(writer, 0, {1.0, 2.0});
    writer.flushIntermediate();
    EXPECT_THAT(fileNames(), IsEmpty());
    EXPECT_TRUE(Access::isReady(writer));
    gate.set_value();
    Access::waitUntilTaken(writer);
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
    writer.flush();
}

// A group that was flushed before has a row count but no rows. The count suffices to drop the
// batch.
TEST_F(NativeStreamWriterHandOffTest, rowCountWithoutRowsDropsAWaitingBatch) {
    holdThread();
    writeTimes(writer, 1, {3.0});
    writer.flushIntermediate();
    writeTimes(writer, 0, {1.0, 2.0});
    writer.flushIntermediate();
    gate.set_value();
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
}

// The first row of group 1 records its width while the thread reads the width of group 0.
TEST_F(NativeStreamWriterHandOffTest, newGroupGetsItsWidthWhileABatchIsWritten) {
    const BlockingFile file(directory.path() / "pipe");
    Access::setTimesPath(writer, 0, file.path);
    writeTimes(writer, 0, {1.0, 2.0});
    writeTimes(writer, 1, {3.0});
    EXPECT_THAT(file.drain(), ElementsAre(1.0, 2.0));
    Access::waitUntilTaken(writer);
    std::filesystem::remove(file.path);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
}

// This test does not drive the thread. Under any timing, whole batches arrive in order.
TEST_F(NativeStreamWriterHandOffTest, wholeBatchesAreWrittenInOrder) {
    for (int i = 0; i < 2000; ++i) {
        writeTimes(writer, 0, {static_cast<double>(i)});
    }
    writer.flush();
    const std::vector<double> times = timesIn(writer, "x0");
    ASSERT_EQ(times.size() % 2, 0U);
    ASSERT_FALSE(times.empty());
    EXPECT_EQ(times.back(), 1999.0);
    for (std::size_t i = 0; i < times.size(); i += 2) {
        EXPECT_EQ(static_cast<int>(times[i]) % 2, 0);
        EXPECT_EQ(times[i + 1], times[i] + 1.0);
        EXPECT_TRUE(i == 0 || times[i] > times[i - 1]);
    }
    const std::vector<double> values = valuesIn(writer, "x0");
    ASSERT_EQ(values.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(values[i], 10.0 * times[i]);
    }
}

} // namespace
} // namespace logging2::core::test
