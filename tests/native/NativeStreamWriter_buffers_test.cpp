#include <tests/native/native_writers.hpp>

#include <unistd.h>

// How samples are stored in the buffers, and when a buffer is handed over.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamWriterBuffersTest : public NativeStreamWriterTest {};

TEST_F(NativeStreamWriterBuffersTest, bufferHoldsContiguousRowsWithTheTimeFirst) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    const std::vector<double> row{1.0, 2.0, 3.0};
    EXPECT_TRUE(writer.write(0, 0.5, row.data(), 3));
    EXPECT_TRUE(writer.write(0, 0.25, row.data(), 3));
    EXPECT_THAT(Access::buffer(writer, 0), ElementsAre(0.5, 1.0, 2.0, 3.0, 0.25, 1.0, 2.0, 3.0));
    EXPECT_EQ(Access::rowCount(writer, 0), 2U);
    EXPECT_FALSE(Access::hasThread(writer));
    EXPECT_THAT(fileNames(), IsEmpty());
}

void expectHandOverAt(NativeStreamWriter& writer, std::size_t rowLength, std::size_t threshold) {
    const std::vector<double> row(rowLength, 1.0);
    for (std::size_t i = 1; i < threshold; ++i) {
        writer.write(0, static_cast<double>(i), row.data(), rowLength);
    }
    EXPECT_EQ(Access::rowCount(writer, 0), threshold - 1);
    EXPECT_FALSE(Access::hasThread(writer));
    writer.write(0, static_cast<double>(threshold), row.data(), rowLength);
    EXPECT_TRUE(Access::hasThread(writer));
    EXPECT_EQ(Access::rowCount(writer, 0), 0U);
    EXPECT_EQ(Access::buffer(writer, 0).capacity(), 0U);
    Access::waitUntilTaken(writer);
}

TEST_F(NativeStreamWriterBuffersTest, onePathHandsOverAtRow4194304) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    expectHandOverAt(writer, 1, 4194304);
    EXPECT_EQ(std::filesystem::file_size(timesFile(writer, "x")), 4194304 * sizeof(double));
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "x")), 4194304 * sizeof(double));
    const double value = 1.0;
    for (std::size_t i = 1; i < 4194304; ++i) {
        writer.write(0, 0.0, &value, 1);
    }
    EXPECT_EQ(Access::rowCount(writer, 0), 4194303U) << "no hand-over before the next 4194304th";
    writer.flush();
}

TEST_F(NativeStreamWriterBuffersTest, twoPathsHandOverAtRow2796202) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    expectHandOverAt(writer, 3, 2796202);
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "b")), 2 * 2796202 * sizeof(double));
    writer.flush();
}

TEST_F(NativeStreamWriterBuffersTest, bufferOfOneRowHandsOverEveryRow) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 1);
    for (const double time : {1.0, 2.0, 3.0}) {
        writeTimes(writer, 0, {time});
        Access::waitUntilTaken(writer);
        EXPECT_EQ(timesIn(writer, "x").size(), static_cast<std::size_t>(time));
    }
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(NativeStreamWriterBuffersTest, rowsAreCountedPerGroup) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    Access::setBufferSize(writer, 0, 3);
    Access::setBufferSize(writer, 1, 3);
    writeTimes(writer, 0, {1.0, 2.0});
    writeTimes(writer, 1, {1.0, 2.0});
    EXPECT_FALSE(Access::hasThread(writer));
    writeTimes(writer, 0, {3.0});
    Access::waitUntilTaken(writer);
    EXPECT_EQ(Access::rowCount(writer, 0), 0U);
    EXPECT_EQ(Access::rowCount(writer, 1), 2U);
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "values_0_0"));
    writer.flush();
}

TEST_F(NativeStreamWriterBuffersTest, firstWidthOfAGroupSplitsAllItsRows) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    write(writer, 0, 1.0, {10.0, 11.0, 12.0});
    write(writer, 0, 2.0, {20.0, 21.0});
    write(writer, 0, 3.0, {30.0, 31.0});
    writer.flush();
    // The elements are 1 10 11 12 | 2 20 21 3 | 30 31: rows of three values, the last one
    // incomplete.
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0, 30.0));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 20.0, 31.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(11.0, 12.0, 21.0, 3.0));
}

TEST_F(NativeStreamWriterBuffersTest, firstWidthStaysValidAfterHandOvers) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    Access::setBufferSize(writer, 0, 1);
    write(writer, 0, 1.0, {10.0, 11.0, 12.0});
    Access::waitUntilTaken(writer);
    write(writer, 0, 2.0, {20.0});
    Access::waitUntilTaken(writer);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 20.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(11.0, 12.0));
}

TEST_F(NativeStreamWriterBuffersTest, everyGroupHasItsOwnWidth) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"a", 0}}), channels({{0, 2}}))},
                   {Group(1), LoggedPathsSetupData(paths({{"b", 1}}), channels({{1, 3}}))}});
    write(writer, 0, 1.0, {10.0, 11.0});
    write(writer, 0, 2.0, {20.0, 21.0});
    write(writer, 1, 1.0, {30.0, 31.0, 32.0});
    writer.flush();
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 11.0, 20.0, 21.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(30.0, 31.0, 32.0));
}

// This test would hang if the write took a lock.
TEST_F(NativeStreamWriterBuffersTest, writeBelowTheThresholdTakesNoLock) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    const std::lock_guard lock(Access::mutex(writer));
    writeTimes(writer, 0, {1.0, 2.0, 3.0});
    EXPECT_EQ(Access::rowCount(writer, 0), 3U);
}

TEST_F(NativeStreamWriterBuffersTest, clearBufferDropsUnwrittenSamples) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0, 2.0});
    writer.clearBuffer();
    EXPECT_EQ(Access::rowCount(writer, 0), 0U);
    EXPECT_FALSE(Access::hasBuffers(writer));
    EXPECT_FALSE(Access::hasColumns(writer));
    writer.flush();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterBuffersTest, destructionDropsUnflushedSamples) {
    {
        NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
        writeTimes(writer, 0, {1.0});
    }
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterBuffersTest, destructionWithARunningThreadEndsTheProcess) {
    // The style "fast" forks, so that the child uses this test's directory and leaves none of its
    // own.
    ::testing::FLAGS_gtest_death_test_style = "fast";
    EXPECT_DEATH(
        {
            NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
            Access::setBufferSize(writer, 0, 1);
            writeTimes(writer, 0, {1.0});
        },
        "terminate");
}

// A waiting thread must not block the destruction of the writer. The alarm ends a child that hangs.
TEST_F(NativeStreamWriterBuffersTest, destructionWithAWaitingThreadEndsTheProcess) {
    ::testing::FLAGS_gtest_death_test_style = "fast";
    EXPECT_DEATH(
        {
            alarm(20);
            NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
            Access::setBufferSize(writer, 0, 1);
            writeTimes(writer, 0, {1.0});
            // The mutex was free and no batch is ready: the thread waits for the condition.
            Access::waitUntilTaken(writer);
        },
        "terminate");
}

TEST_F(NativeStreamWriterBuffersTest, clearBufferDropsAWaitingBatch) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 2);
    Access::startWhenStopIsRequested(writer);
    writeTimes(writer, 0, {1.0, 2.0});
    EXPECT_EQ(Access::buffer(writer, 0).capacity(), 0U);
    writer.clearBuffer();
    writer.flush();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterBuffersTest, groupWrittenFirstAfterClearBufferGetsItsWidth) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    writeTimes(writer, 0, {1.0});
    writer.clearBuffer();
    writeTimes(writer, 1, {2.0, 3.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x1"), ElementsAre(20.0, 30.0));
}

TEST_F(NativeStreamWriterBuffersTest, flushIntermediateWithClearBufferLosesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 4);
    for (int i = 0; i < 10; ++i) {
        const double time = 3.0 * i;
        writeTimes(writer, 0, {time, time + 1.0, time + 2.0});
        writer.flushIntermediate();
        writer.clearBuffer();
    }
    EXPECT_FALSE(Access::hasThread(writer));
    writer.flush();
    EXPECT_EQ(timesIn(writer, "x").size(), 30U);
    EXPECT_EQ(valuesIn(writer, "x").back(), 290.0);
}

// The row counts are not reset, so the fourth row is handed over alone, and the next call drops it.
TEST_F(NativeStreamWriterBuffersTest, flushIntermediateAloneMayLoseABatch) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 4);
    Access::startWhenStopIsRequested(writer);
    writeTimes(writer, 0, {1.0, 2.0, 3.0});
    writer.flushIntermediate();
    writeTimes(writer, 0, {4.0, 5.0, 6.0});
    writer.flushIntermediate();
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0, 5.0, 6.0));
}

} // namespace
} // namespace logging2::core::test
