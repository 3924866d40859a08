#include <tests/native/native_writers.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>
#include <thread>

// How samples are written from the buffers into the files.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamWriterFilesTest : public NativeStreamWriterTest {};

TEST_F(NativeStreamWriterFilesTest, flushWritesEverySampleInOrder) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    write(writer, 0, 0.0, {1.0, 2.0, 3.0});
    write(writer, 0, 0.5, {4.0, 5.0, 6.0});
    write(writer, 0, 0.25, {7.0, 8.0, 9.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(0.0, 0.5, 0.25));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(1.0, 4.0, 7.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(2.0, 3.0, 5.0, 6.0, 8.0, 9.0));
    EXPECT_EQ(std::filesystem::file_size(timesFile(writer, "a")), 24U);
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "b")), 48U);
    EXPECT_FALSE(Access::hasThread(writer));
}

TEST_F(NativeStreamWriterFilesTest, batchesAreAppendedInHandOffOrder) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 2);
    for (const double time : {1.0, 3.0, 5.0}) {
        writeTimes(writer, 0, {time, time + 1.0});
        Access::waitUntilTaken(writer);
    }
    writeTimes(writer, 0, {7.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0, 30.0, 40.0, 50.0, 60.0, 70.0));
}

/// One pipe in place of all files, which shows the appends as one sequence.
class AppendOrder {
public:
    explicit AppendOrder(const std::filesystem::path& pipePath) : path(pipePath) {
        mkfifo(path.c_str(), 0600);
        descriptor = open(path.c_str(), O_RDWR | O_NONBLOCK);
    }
    ~AppendOrder() { close(descriptor); }
    AppendOrder(const AppendOrder&) = delete;
    AppendOrder& operator=(const AppendOrder&) = delete;

    std::vector<double> seen() const {
        std::vector<double> values(1000);
        const ssize_t byteCount = read(descriptor, values.data(), values.size() * sizeof(double));
        values.resize(byteCount > 0 ? static_cast<std::size_t>(byteCount) / sizeof(double) : 0);
        return values;
    }

    std::filesystem::path path;

private:
    int descriptor;
};

// Group 5 is first in the setup, but group 2 is appended first.
TEST_F(NativeStreamWriterFilesTest, groupsAscendAndTimesPrecedeTheChannels) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(5), LoggedPathsSetupData(paths({{"c", 1}}), channels({{1, 1}}))},
                   {Group(2), LoggedPathsSetupData(paths({{"a", 8}, {"b", 3}}),
                                                   channels({{8, 1}, {3, 1}}))}});
    const AppendOrder order(directory.path() / "pipe");
    for (const std::size_t group : {2U, 5U}) {
        Access::setTimesPath(writer, group, order.path);
    }
    for (const std::size_t channel : {1U, 3U, 8U}) {
        Access::setValuesPath(writer, channel, order.path);
    }
    write(writer, 5, 500.0, {51.0});
    write(writer, 2, 200.0, {28.0, 23.0});
    writer.flushIntermediate();
    EXPECT_THAT(order.seen(), ElementsAre(200.0, 28.0, 23.0, 500.0, 51.0));
    write(writer, 5, 501.0, {52.0});
    write(writer, 2, 201.0, {29.0, 24.0});
    writer.flush();
    EXPECT_THAT(order.seen(), ElementsAre(201.0, 29.0, 24.0, 501.0, 52.0));
}

TEST_F(NativeStreamWriterFilesTest, groupWithoutRowsGetsNoFile) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    writeTimes(writer, 1, {1.0});
    writer.flushIntermediate();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_1", "values_1_1"));
    const NativeStreamReader reader(writer.dataStore(ValuePath("x0")));
    EXPECT_THAT(reader.timeseries().first, IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
}

TEST_F(NativeStreamWriterFilesTest, groupIdsMayBeAnyNumbers) {
    constexpr std::size_t large = std::size_t{1} << 32U;
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({12, 200, large}));
    writeTimes(writer, large, {1.0});
    writeTimes(writer, 12, {2.0});
    writeTimes(writer, 200, {3.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x4294967296"), ElementsAre(1.0));
    EXPECT_THAT(timesIn(writer, "x12"), ElementsAre(2.0));
    EXPECT_THAT(valuesIn(writer, "x200"), ElementsAre(30.0));
}

TEST_F(NativeStreamWriterFilesTest, samplesWithoutValuesMakeEmptyValuesFiles) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    writer.write(0, 1.0, nullptr, 0);
    writer.write(0, 2.0, nullptr, 0);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "values_0_7", "values_0_9"));
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "a")), 0U);
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "b")), 0U);
}

// Otherwise each group would keep the memory of its largest batch until the end of the run.
TEST_F(NativeStreamWriterFilesTest, onlyTheLastAppendedGroupKeepsItsColumnMemory) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    Access::setBufferSize(writer, 1, 2);
    const auto capacities = [&writer](std::size_t group) {
        const auto& columns = Access::columns(writer, group);
        return std::vector<std::size_t>{columns[0].capacity(), columns[1].capacity()};
    };
    writeTimes(writer, 0, {1.0, 2.0});
    writer.flushIntermediate();
    EXPECT_THAT(capacities(0), ElementsAre(2U, 2U));
    writeTimes(writer, 1, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    EXPECT_THAT(capacities(0), ElementsAre(0U, 0U));
    EXPECT_THAT(capacities(1), ElementsAre(2U, 2U));
    writer.flush();
}

TEST_F(NativeStreamWriterFilesTest, everyEarlierGroupFreesItsColumnMemory) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1, 2}));
    for (const std::size_t group : {0U, 1U, 2U}) {
        writeTimes(writer, group, {1.0, 2.0});
        writer.flushIntermediate();
        for (std::size_t other = 0; other <= 2; ++other) {
            EXPECT_EQ(Access::columns(writer, other)[1].capacity(), other == group ? 2U : 0U)
                << "group " << other << " after an append of group " << group;
        }
    }
}

TEST_F(NativeStreamWriterFilesTest, flushLeavesNoMemoryInTheSlot) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 2);
    writeTimes(writer, 0, {1.0, 2.0});
    Access::waitUntilTaken(writer);
    EXPECT_GT(Access::slot(writer).capacity(), 0U);
    writer.flush();
    EXPECT_EQ(Access::slot(writer).capacity(), 0U);
}

TEST_F(NativeStreamWriterFilesTest, appendsOfOtherGroupsKeepAChannelWithoutAPath) {
    GroupSetup setup = scalarGroups({0, 1});
    setup.insert(Group(2), LoggedPathsSetupData({}, channels({{2, 1}})));
    NativeStreamWriter writer(StreamingAttributes{}, setup);
    for (const std::size_t group : {2U, 0U, 1U}) {
        writeTimes(writer, group, {1.0});
        writer.flushIntermediate();
    }
    EXPECT_THAT(Access::columns(writer, 2)[1], ElementsAre(10.0));
    writer.flush();
}

TEST_F(NativeStreamWriterFilesTest, channelWithoutAPathStaysInMemoryUntilTheFlush) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{
            {Group(0), LoggedPathsSetupData(paths({{"x", 1}}), channels({{0, 1}, {1, 1}}))}});
    write(writer, 0, 1.0, {10.0, 11.0});
    writer.flushIntermediate();
    write(writer, 0, 2.0, {20.0, 21.0});
    writer.flushIntermediate();
    EXPECT_THAT(Access::columns(writer, 0)[1], ElementsAre(10.0, 20.0));
    EXPECT_THAT(Access::columns(writer, 0)[2], IsEmpty());
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "values_0_1"));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(11.0, 21.0));
    writer.flush();
    EXPECT_FALSE(Access::hasColumns(writer));
}

TEST_F(NativeStreamWriterFilesTest, morePathsThanChannelsWriteEachChannelOnce) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"a", 1}, {"b", 1}, {"c", 1}}),
                                                   channels({{1, 1}}))}});
    writeTimes(writer, 0, {1.0, 2.0});
    writer.flush();
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 20.0));
    EXPECT_THAT(valuesIn(writer, "c"), ElementsAre(10.0, 20.0));
}

TEST_F(NativeStreamWriterFilesTest, shortRowsAreNotReadPastTheirEnd) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    write(writer, 0, 1.0, {10.0, 11.0});
    write(writer, 0, 2.0, {20.0, 21.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 20.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(11.0, 21.0));
}

// Paths are visited in ascending order: "a" of group 1 names the file of channel 7 for both groups.
TEST_F(NativeStreamWriterFilesTest, collidingChannelNumbersShareTheFileOfTheFirstPath) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"b", 7}}), channels({{7, 1}}))},
                   {Group(1), LoggedPathsSetupData(paths({{"a", 7}}), channels({{7, 1}}))}});
    writeTimes(writer, 0, {1.0});
    writeTimes(writer, 1, {2.0});
    writer.flush();
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "times_1", "values_1_7"));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(10.0, 20.0));
    EXPECT_THAT(valuesIn(writer, "b"), IsEmpty());
}

TEST_F(NativeStreamWriterFilesTest, flushIntermediateMakesTheSamplesReadable) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.flushIntermediate();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
    writeTimes(writer, 0, {2.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0));
    EXPECT_FALSE(Access::hasThread(writer));
}

TEST_F(NativeStreamWriterFilesTest, flushIntermediateDoesNotResetTheRowCounts) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 4);
    writeTimes(writer, 0, {1.0, 2.0, 3.0});
    writer.flushIntermediate();
    EXPECT_EQ(Access::rowCount(writer, 0), 3U);
    writeTimes(writer, 0, {4.0});
    EXPECT_TRUE(Access::hasThread(writer));
    Access::waitUntilTaken(writer);
    EXPECT_EQ(Access::rowCount(writer, 0), 0U);
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0, 4.0));
    writer.flush();
}

TEST_F(NativeStreamWriterFilesTest, secondFlushIntermediateWritesNothingNew) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.flushIntermediate();
    writer.flushIntermediate();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

TEST_F(NativeStreamWriterFilesTest, emptyAppendsRecreateFilesThatAReaderDeleted) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.flushIntermediate();
    NativeStreamReader(writer.dataStore(ValuePath("x")));
    EXPECT_THAT(fileNames(), IsEmpty());
    writer.flushIntermediate();
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "values_0_0"));
    EXPECT_EQ(std::filesystem::file_size(timesFile(writer, "x")), 0U);
}

TEST_F(NativeStreamWriterFilesTest, flushIntermediateOfANewWriterWritesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writer.flushIntermediate();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterFilesTest, secondFlushWithoutAThreadWritesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.flush();
    NativeStreamReader(writer.dataStore(ValuePath("x")));
    writer.flush();
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterFilesTest, secondFlushAfterAThreadThrowsSystemError) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 1);
    writeTimes(writer, 0, {1.0});
    writer.flush();
    EXPECT_THROW(writer.flush(), std::system_error);
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

TEST_F(NativeStreamWriterFilesTest, closeDoesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.close();
    EXPECT_THAT(fileNames(), IsEmpty());
    writer.flush();
    writer.close();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

TEST_F(NativeStreamWriterFilesTest, failedOpenLosesOnlyTheSamplesOfThatFile) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    std::filesystem::create_directory(valuesFile(writer, "a"));
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flushIntermediate();
    EXPECT_THAT(Access::columns(writer, 0)[1], IsEmpty());
    std::filesystem::remove(valuesFile(writer, "a"));
    write(writer, 0, 2.0, {4.0, 5.0, 6.0});
    writer.flush();
    EXPECT_THAT(timesIn(writer, "a"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(valuesIn(writer, "a"), ElementsAre(4.0));
    EXPECT_THAT(valuesIn(writer, "b"), ElementsAre(2.0, 3.0, 5.0, 6.0));
}

TEST_F(NativeStreamWriterFilesTest, appendReturnsWhetherTheFileWasOpened) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    const std::string file = directory.path() / "file";
    EXPECT_TRUE(writer.write(file, "ab\n", 3));
    EXPECT_TRUE(writer.write(file, nullptr, 0));
    EXPECT_TRUE(writer.write(file, "c", 1));
    EXPECT_EQ(bytesOf(file), "ab\nc");
    EXPECT_FALSE(writer.write(directory.path() / "missing" / "file", "a", 1));
    EXPECT_FALSE(writer.write(std::string(), "a", 1));
    EXPECT_TRUE(writer.write("/dev/full", "a", 1)) << "other errors are not reported";
}

TEST_F(NativeStreamWriterFilesTest, writerLeavesTheDeletionOfFilesToReaders) {
    std::filesystem::path file;
    boost::any dataStore;
    {
        NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
        writeTimes(writer, 0, {1.0});
        writer.flush();
        file = timesFile(writer, "x");
        dataStore = writer.dataStore(ValuePath("x"));
    }
    EXPECT_TRUE(std::filesystem::exists(file));
    {
        const NativeStreamReader reader(dataStore);
        EXPECT_THAT(reader.timeseries().second, ElementsAre(10.0));
    }
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterFilesTest, readerOfOnePathDeletesTheTimesOfItsGroup) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    write(writer, 0, 1.0, {1.0, 2.0, 3.0});
    writer.flush();
    NativeStreamReader(writer.dataStore(ValuePath("a")));
    const NativeStreamReader other(writer.dataStore(ValuePath("b")));
    EXPECT_THAT(other.timeseries().first, IsEmpty());
    EXPECT_THAT(other.timeseries().second, ElementsAre(2.0, 3.0));
}

} // namespace
} // namespace logging2::core::test
