#include <tests/native/native_writers.hpp>

#include <utility>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamWriterMovesTest : public NativeStreamWriterTest {};

TEST_F(NativeStreamWriterMovesTest, writerMovedBeforeItsFirstSampleWorks) {
    NativeStreamWriter source(StreamingAttributes{}, mixedWidthSetup());
    const std::filesystem::path times = timesFile(source, "a");
    NativeStreamWriter writer(std::move(source));
    EXPECT_EQ(timesFile(writer, "a"), times);
    Access::setBufferSize(writer, 0, 2);
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flushIntermediate();
    write(writer, 0, 2.0, {4.0, 5.0, 6.0});
    Access::waitUntilTaken(writer);
    write(writer, 0, 3.0, {7.0, 8.0, 9.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(2.0, 3.0, 5.0, 6.0, 8.0, 9.0));
}

// The group has a row count but no rows and no column yet.
TEST_F(NativeStreamWriterMovesTest, flushIntermediateOfAMovedWriterCreatesItsColumns) {
    NativeStreamWriter source(StreamingAttributes{}, mixedWidthSetup());
    write(source, 0, 1.0, {1.0, 2.0, 3.0});
    source.flushIntermediate();
    NativeStreamWriter writer(std::move(source));
    writer.flushIntermediate();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0));
    EXPECT_EQ(Access::columns(writer, 0).size(), 3U);
    writer.flush();
}

TEST_F(NativeStreamWriterMovesTest, samplesMoveWithTheWriter) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    writeTimes(source, 0, {1.0, 2.0});
    NativeStreamWriter writer(std::move(source));
    EXPECT_EQ(Access::rowCount(writer, 0), 2U);
    writeTimes(writer, 0, {3.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(NativeStreamWriterMovesTest, movedFromWriterFlushesNothing) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    writeTimes(source, 0, {1.0});
    NativeStreamWriter writer(std::move(source));
    source.flush(); // NOLINT(bugprone-use-after-move)
    EXPECT_THAT(fileNames(), IsEmpty());
    writer.flush();
}

TEST_F(NativeStreamWriterMovesTest, moveKeepsTheReadyFlag) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    source.flushIntermediate();
    ASSERT_TRUE(Access::isReady(source));
    NativeStreamWriter writer(std::move(source));
    EXPECT_TRUE(Access::isReady(writer));
}

TEST_F(NativeStreamWriterMovesTest, assignmentMovesSetupAndFiles) {
    NativeStreamWriter source(StreamingAttributes{}, mixedWidthSetup());
    const std::filesystem::path times = timesFile(source, "a");
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writer = std::move(source);
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flush();
    EXPECT_EQ(timesFile(writer, "a"), times);
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(2.0, 3.0));
}

// Row widths do not move: rows are split by the width of the target's first row.
TEST_F(NativeStreamWriterMovesTest, assignmentKeepsTheRowWidthsOfTheTarget) {
    NativeStreamWriter source(StreamingAttributes{}, mixedWidthSetup());
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {9.0});
    writer = std::move(source);
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(1.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "b"), IsEmpty());
}

// If the target has no width for the group, its next row sets the width, whatever the buffer holds.
TEST_F(NativeStreamWriterMovesTest, nextRowSetsTheWidthOfAnAssignedGroup) {
    NativeStreamWriter source(StreamingAttributes{}, scalarGroups({5, 6}));
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    writeTimes(writer, 0, {9.0});
    writeTimes(writer, 1, {9.0});
    writeTimes(source, 5, {1.0});
    writeTimes(source, 6, {1.0});
    writer = std::move(source);
    writeTimes(writer, 5, {2.0});
    writeTimes(writer, 6, {2.0});
    writer.flush();
    EXPECT_THAT(valuesIn(writer, "x5"), ElementsAre(10.0, 20.0));
    EXPECT_THAT(valuesIn(writer, "x6"), ElementsAre(10.0, 20.0));
}

TEST_F(NativeStreamWriterMovesTest, assignmentKeepsTheColumnsOfTheTarget) {
    NativeStreamWriter source(StreamingAttributes{}, mixedWidthSetup());
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writer = std::move(source);
    EXPECT_EQ(Access::columns(writer, 0).size(), 2U);
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flushIntermediate();
    EXPECT_EQ(Access::columns(writer, 0).size(), 3U);
}

TEST_F(NativeStreamWriterMovesTest, assignmentMovesCountsSizesNameAndFlags) {
    StreamingAttributes named;
    named.name = BasicTableString<char>("named");
    NativeStreamWriter source(named, scalarSetup());
    Access::setBufferSize(source, 0, 77);
    writeTimes(source, 0, {1.0, 2.0});
    source.flushIntermediate();
    Access::requestStop(source);
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writer = std::move(source);
    EXPECT_EQ(writer.getBufferSize(0), 77U);
    EXPECT_EQ(Access::rowCount(writer, 0), 2U);
    EXPECT_TRUE(Access::isReady(writer));
    EXPECT_TRUE(Access::stopRequested(writer));
    std::u16string name;
    const auto former = foundation::setWarningHandler(
        [&](const foundation::Message& message) { name = message.arguments().at(0); });
    writer.rollback(0, 0.0);
    foundation::setWarningHandler(former);
    EXPECT_EQ(name, u"named");
}

TEST_F(NativeStreamWriterMovesTest, moveConstructionCopiesFlagsButNotColumnsOrWidths) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    write(source, 0, 1.0, {10.0, 11.0, 12.0});
    source.flushIntermediate();
    Access::requestStop(source);
    NativeStreamWriter writer(std::move(source));
    EXPECT_TRUE(Access::stopRequested(writer));
    EXPECT_FALSE(Access::hasColumns(writer));
    write(writer, 0, 2.0, {20.0, 21.0});
    write(writer, 0, 3.0, {30.0, 31.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(NativeStreamWriterMovesTest, movesLeaveThreadAndSlotInPlace) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    Access::startWhenStopIsRequested(source);
    NativeStreamWriter writer(std::move(source));
    EXPECT_TRUE(Access::hasThread(source)); // NOLINT(bugprone-use-after-move)
    EXPECT_FALSE(Access::hasThread(writer));
    source.flush();
    NativeStreamWriter target(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(target, 0, 1);
    Access::startWhenStopIsRequested(target);
    writeTimes(target, 0, {9.0});
    target = std::move(writer);
    EXPECT_THAT(Access::slot(target), ElementsAre(9.0, 90.0));
    EXPECT_TRUE(Access::hasThread(target));
    target.flush();
}

TEST_F(NativeStreamWriterMovesTest, batchWaitingInAMovedFromWriterIsLost) {
    NativeStreamWriter source(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(source, 0, 1);
    Access::startWhenStopIsRequested(source);
    writeTimes(source, 0, {1.0});
    NativeStreamWriter writer(std::move(source));
    source.flush(); // NOLINT(bugprone-use-after-move)
    EXPECT_THAT(Access::slot(source), IsEmpty());
    EXPECT_THAT(fileNames(), IsEmpty());
    writer.flush();
}

TEST_F(NativeStreamWriterMovesTest, assignmentToItselfChangesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    NativeStreamWriter& same = writer;
    writer = std::move(same);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

} // namespace
} // namespace logging2::core::test
