#include <tests/native/BlockingFile.hpp>
#include <tests/native/native_writers.hpp>

#include <future>

// What a batch in the slot can meet, each brought about step by step. That the caller waits for a
// batch that is being written is tested in waiting_test.cpp.

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

    /// Lets the writer hand over to a thread that starts its first pass when the gate opens.
    void holdThread() { Access::startBehindGate(writer, gate.get_future()); }

    NativeStreamWriter writer{StreamingAttributes{}, scalarGroups({0, 1})};
    std::promise<void> gate;
};

TEST_F(NativeStreamWriterHandOffTest, batchThatIsTakenInTimeIsWritten) {
    writeTimes(writer, 0, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    writeTimes(writer, 1, {3.0, 4.0});
    Access::waitUntilTaken(writer);
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
}

TEST_F(NativeStreamWriterHandOffTest, batchThatWasNotTakenIsReplaced) {
    holdThread();
    writeTimes(writer, 0, {1.0, 2.0});
    EXPECT_TRUE(Access::isReady(writer));
    writeTimes(writer, 0, {3.0, 4.0, 5.0});
    gate.set_value();
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(3.0, 4.0, 5.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(30.0, 40.0, 50.0));
}

// Groups of one size that are written alternately fill up one right after the other.
TEST_F(NativeStreamWriterHandOffTest, batchOfOneGroupReplacesThatOfAnother) {
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

TEST_F(NativeStreamWriterHandOffTest, stopBeforeTheFirstPassWithoutABatchEndsTheThread) {
    Access::startWhenStopIsRequested(writer);
    writer.flush();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterHandOffTest, stopOfAThreadThatWaitsEndsIt) {
    writeTimes(writer, 0, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
}

TEST_F(NativeStreamWriterHandOffTest, flushIntermediateDropsAWaitingBatchWhereAGroupHasRows) {
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

TEST_F(NativeStreamWriterHandOffTest, flushIntermediateLeavesAWaitingBatchToTheThreadOtherwise) {
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

// A group that was written before has a count and no rows: that is enough to drop the batch.
TEST_F(NativeStreamWriterHandOffTest, countWithoutRowsDropsAWaitingBatchToo) {
    holdThread();
    writeTimes(writer, 1, {3.0});
    writer.flushIntermediate();
    writeTimes(writer, 0, {1.0, 2.0});
    writer.flushIntermediate();
    gate.set_value();
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
}

// The first row of group 1 records its width while the thread reads that of group 0.
TEST_F(NativeStreamWriterHandOffTest, widthOfANewGroupIsRecordedWhileABatchIsBeingWritten) {
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

// Nothing is driven here: whatever the thread does in between, whole batches arrive in order.
TEST_F(NativeStreamWriterHandOffTest, undrivenRunWritesWholeBatchesInOrder) {
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
