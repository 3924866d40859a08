#include <tests/memory/memory_writers.hpp>

#include <memory>
#include <stdexcept>
#include <thread>

// The effect of flush and close on the stores.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class Writer>
class MemoryWritersFlushTest : public MemoryWritersTest<Writer> {};
TYPED_TEST_SUITE(MemoryWritersFlushTest, MemoryWriters, WriterNames);

TYPED_TEST(MemoryWritersFlushTest, columnsAreSampleMajorInChannelOrder) {
    auto writer = this->make(mixedWidthSetup());
    write(writer, 0, 1.0, {1.0, 10.0, 100.0});
    write(writer, 0, 2.0, {2.0, 20.0, 200.0});
    write(writer, 0, 3.0, {3.0, 30.0, 300.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "a").times, ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(*memoryStore(writer, "a").values, ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(*memoryStore(writer, "b").values,
                ElementsAre(10.0, 100.0, 20.0, 200.0, 30.0, 300.0));
}

TYPED_TEST(MemoryWritersFlushTest, setupDefinesTheChannelOrder) {
    auto writer =
        this->make(GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"low", 1}, {"high", 9}}),
                                                              channels({{9, 1}, {1, 1}}))}});
    write(writer, 0, 0.0, {90.0, 10.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "high").values, ElementsAre(90.0));
    EXPECT_THAT(*memoryStore(writer, "low").values, ElementsAre(10.0));
}

TYPED_TEST(MemoryWritersFlushTest, aliasesShareTheirColumnAndTheGroupSharesItsTimes) {
    auto writer = this->make(
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"a", 7}, {"b", 9}, {"alias", 7}}),
                                                   channels({{7, 1}, {9, 1}}))}});
    write(writer, 0, 1.0, {1.0, 2.0});
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "a").values, memoryStore(writer, "alias").values);
    EXPECT_NE(memoryStore(writer, "a").values, memoryStore(writer, "b").values);
    EXPECT_EQ(memoryStore(writer, "a").times, memoryStore(writer, "alias").times);
    EXPECT_EQ(memoryStore(writer, "a").times, memoryStore(writer, "b").times);
}

TYPED_TEST(MemoryWritersFlushTest, everyGroupHasItsOwnTimes) {
    auto writer = this->make(
        GroupSetup{{Group(1), LoggedPathsSetupData(paths({{"one", 0}}), channels({{0, 1}}))},
                   {Group(0), LoggedPathsSetupData(paths({{"zero", 0}}), channels({{0, 1}}))}});
    write(writer, 0, 5.0, {50.0});
    write(writer, 1, 6.0, {60.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "zero").times, ElementsAre(5.0));
    EXPECT_THAT(*memoryStore(writer, "zero").values, ElementsAre(50.0));
    EXPECT_THAT(*memoryStore(writer, "one").times, ElementsAre(6.0));
    EXPECT_THAT(*memoryStore(writer, "one").values, ElementsAre(60.0));
}

TYPED_TEST(MemoryWritersFlushTest, columnsAreAllocatedAtTheirFinalSize) {
    auto writer = this->make(mixedWidthSetup());
    for (int i = 0; i < 3; ++i) {
        write(writer, 0, i, {1.0, 2.0, 3.0});
    }
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "a").values->capacity(), 3U);
    EXPECT_EQ(memoryStore(writer, "b").values->capacity(), 6U);
}

TYPED_TEST(MemoryWritersFlushTest, channelOfWidthZeroGivesAnEmptyColumn) {
    auto writer =
        this->make(GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"none", 1}, {"x", 2}}),
                                                              channels({{1, 0}, {2, 1}}))}});
    write(writer, 0, 1.0, {5.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "none").times, ElementsAre(1.0));
    EXPECT_THAT(*memoryStore(writer, "none").values, IsEmpty());
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(5.0));
}

TYPED_TEST(MemoryWritersFlushTest, valuesAfterTheLastChannelAreIgnored) {
    auto writer = this->make();
    write(writer, 0, 1.0, {1.0, 8.0});
    write(writer, 0, 2.0, {2.0, 9.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersFlushTest, freesTheRows) {
    auto writer = this->make();
    write(writer, 0, 1.0, {1.0});
    const std::weak_ptr<std::vector<double>> row = writer.data(0)[0];
    writer.flush();
    EXPECT_TRUE(row.expired());
    EXPECT_TRUE(writer.data(0).empty());
}

TYPED_TEST(MemoryWritersFlushTest, groupWithoutSamplesStillGetsStores) {
    auto writer = this->make(mixedWidthSetup());
    writer.flush();
    for (const char* path : {"a", "b"}) {
        ASSERT_NE(memoryStore(writer, path).times, nullptr);
        ASSERT_NE(memoryStore(writer, path).values, nullptr);
        EXPECT_THAT(*memoryStore(writer, path).times, IsEmpty());
        EXPECT_THAT(*memoryStore(writer, path).values, IsEmpty());
    }
}

TYPED_TEST(MemoryWritersFlushTest, groupWithoutChannelsGetsNoStoresAndKeepsItsRows) {
    auto writer = this->make(
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"lost", 0}}), {})},
                   {Group(1), LoggedPathsSetupData(paths({{"kept", 0}}), channels({{0, 1}}))}});
    write(writer, 0, 1.0, {1.0, 2.0});
    write(writer, 1, 1.0, {3.0});
    writer.flush();
    EXPECT_THROW(writer.dataStore(ValuePath("lost")), std::out_of_range);
    EXPECT_THAT(*memoryStore(writer, "kept").values, ElementsAre(3.0));
    ASSERT_EQ(writer.data(0).size(), 1U);
    EXPECT_THAT(*writer.data(0)[0], ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersFlushTest, pathOfAForeignChannelGetsNoStore) {
    auto writer = this->make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 0}, {"far", 5}}), channels({{0, 1}}))}});
    writer.flush();
    EXPECT_THROW(writer.dataStore(ValuePath("far")), std::out_of_range);
    EXPECT_THAT(*memoryStore(writer, "x").values, IsEmpty());
}

TYPED_TEST(MemoryWritersFlushTest, channelWithoutPathsKeepsItsPlaceInTheRow) {
    auto writer = this->make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 3}}), channels({{1, 2}, {2, 1}, {3, 1}}))}});
    write(writer, 0, 1.0, {1.0, 2.0, 3.0, 4.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(4.0));
}

TYPED_TEST(MemoryWritersFlushTest, channelListedTwiceGivesItsFirstColumn) {
    auto writer = this->make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}, {"x", 1}}), channels({{1, 1}, {1, 1}}))}});
    write(writer, 0, 1.0, {10.0, 20.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(10.0));
}

// Within a group the channel order decides, not the order of the paths.
TYPED_TEST(MemoryWritersFlushTest, pathOfTwoChannelsShowsTheFirstOfTheRow) {
    auto writer = this->make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 2}, {"x", 1}}), channels({{1, 1}, {2, 1}}))}});
    write(writer, 0, 1.0, {10.0, 20.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(10.0));
}

TYPED_TEST(MemoryWritersFlushTest, pathOfTwoGroupsShowsTheFirstGroup) {
    const LoggedPathsSetupData scalar(paths({{"x", 0}}), channels({{0, 1}}));
    auto writer = this->make(GroupSetup{{Group(1), scalar}, {Group(0), scalar}});
    write(writer, 0, 1.0, {10.0});
    write(writer, 1, 2.0, {20.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").times, ElementsAre(2.0));
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(20.0));
}

TYPED_TEST(MemoryWritersFlushTest, missingRowsShortenTheColumns) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    writer.data(0).pop_back();
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").times, ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersFlushTest, rowsWithoutTimesStayInTheWriter) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    writer.times(0).pop_back();
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0, 2.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(3.0));
}

TYPED_TEST(MemoryWritersFlushTest, dataStoreBeforeTheFlushThrowsOutOfRange) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0});
    EXPECT_THROW(writer.dataStore(ValuePath("x")), std::out_of_range);
}

TYPED_TEST(MemoryWritersFlushTest, flushIntermediateDoesNothing) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.flushIntermediate();
    EXPECT_EQ(writer.numSteps(0), 2U);
    EXPECT_EQ(writer.data(0).size(), 2U);
    EXPECT_THROW(writer.dataStore(ValuePath("x")), std::out_of_range);
}

TYPED_TEST(MemoryWritersFlushTest, closeFlushesOnce) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0});
    writer.close();
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersFlushTest, closeCallsTheVirtualFlushOnce) {
    FlushCountingWriter<TypeParam> writer(attributes(), scalarSetup());
    writer.close();
    writer.close();
    EXPECT_EQ(writer.flushes, 1);
}

TYPED_TEST(MemoryWritersFlushTest, closeAfterFlushDoesNothing) {
    FlushCountingWriter<TypeParam> writer(attributes(), scalarSetup());
    writer.flush();
    writer.close();
    EXPECT_EQ(writer.flushes, 1);
}

TYPED_TEST(MemoryWritersFlushTest, closeLeavesSamplesWrittenAfterTheFlush) {
    auto writer = this->make();
    writer.flush();
    this->writeTimes(writer, {1.0});
    writer.close();
    EXPECT_EQ(writer.data(0).size(), 1U);
}

TYPED_TEST(MemoryWritersFlushTest, laterSamplesCanBeRolledBackAfterTheFlush) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.flush();
    this->writeTimes(writer, {3.0, 4.0});
    writer.rollback(0, 3.0);
    EXPECT_EQ(this->times(writer).back(), 3.0);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersFlushTest, storesOutliveTheWriterAndItsThread) {
    MemoryDatastore store;
    {
        auto writer = this->make();
        this->writeTimes(writer, {1.0, 2.0});
        writer.flush();
        store = memoryStore(writer, "x");
    }
    std::vector<double> seen;
    std::thread([&seen, moved = std::move(store)] { seen = *moved.values; }).join();
    EXPECT_THAT(seen, ElementsAre(1.0, 2.0));
}

// Rows are turned into columns 64 at a time. Each tile's rows are freed before the next tile is
// read.
TYPED_TEST(MemoryWritersFlushTest, rowsAreFreedBeforeTheNextTileIsRead) {
    StreamingAttributes wide = attributes();
    wide.pointLimit = 100;
    TypeParam writer(wide, scalarSetup());
    this->writeTimes(writer, std::vector<double>(100, 0.0));
    const auto behind = writer.data(0)[64];
    writer.data(0)[0] = std::shared_ptr<std::vector<double>>(
        new std::vector<double>{1.0}, [&behind](const std::vector<double>* row) {
            behind->front() = 99.0;
            delete row;
        });
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "x").values->at(64), 99.0);
    EXPECT_EQ(memoryStore(writer, "x").values->at(65), 66.0);
}

// Rows of half a MiB are turned into columns one at a time.
TYPED_TEST(MemoryWritersFlushTest, wideRowsAreFreedBeforeTheNextRowIsRead) {
    constexpr std::size_t width = 65536;
    TypeParam writer(
        attributes(),
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}}), channels({{0, width}}))}});
    const std::vector<double> zeros(width, 0.0);
    for (const double time : {1.0, 2.0, 3.0}) {
        writer.write(0, time, zeros.data(), width);
    }
    const auto behind = writer.data(0)[1];
    writer.data(0)[0] = std::shared_ptr<std::vector<double>>(
        new std::vector<double>(zeros), [&behind](const std::vector<double>* row) {
            behind->front() = 99.0;
            delete row;
        });
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "x").values->at(width), 99.0);
    EXPECT_EQ(memoryStore(writer, "x").values->at(2 * width), 0.0);
}
} // namespace
} // namespace logging2::core::test
