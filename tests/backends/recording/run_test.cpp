#include <tests/backends/recording/recordings.hpp>

#include <tests/support/NoDescriptors.hpp>
#include <tests/support/OrdinaryPermissions.hpp>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <tuple>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

class RecordingRunTest : public RecordingTest {};

TEST_F(RecordingRunTest, infoTellsWhatTheHostGave) {
    options.properties = {{"model", "ball"}, {"", "empty key"}};
    StreamingAttributes attributes;
    attributes.name = BasicTableString<char>("a name/with \"odd\" characters");
    const auto before = std::chrono::system_clock::now() - std::chrono::microseconds(1);
    const auto writer = makeWriter(scalarSetup(), attributes);
    writer->flush();
    const RunInfo info = open(*writer)->info();
    EXPECT_EQ(info.id.size(), 36U);
    EXPECT_EQ(info.name, "a name/with \"odd\" characters");
    EXPECT_EQ(info.properties, options.properties);
    EXPECT_EQ(info.revision, 0U);
    EXPECT_LE(before, info.start);
    ASSERT_TRUE(info.end);
    EXPECT_LE(info.start, *info.end);
    EXPECT_LE(*info.end, std::chrono::system_clock::now());
}

TEST_F(RecordingRunTest, infoTellsWhichProcessHasWrittenTheRun) {
    std::array<char, 256> host{};
    ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
    const RunInfo info = open(*makeWriter())->info();
    EXPECT_EQ(info.host, host.data());
    EXPECT_EQ(info.process, std::to_string(getpid()));
    EXPECT_EQ(info.libraryVersion, LOGGING2_VERSION);
}

TEST_F(RecordingRunTest, piecesAreOneSeriesOfAllSamples) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    EXPECT_THAT(open(*writer)->pieces(ValuePath("x")), IsEmpty());
    writer->flush();
    const std::vector<Series> pieces = open(*writer)->pieces(ValuePath("x"));
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_THAT(doubles(pieces[0].values()), ElementsAre(10.0, 20.0));
}

TEST_F(RecordingRunTest, runsHaveDifferentIds) {
    EXPECT_NE(open(*makeWriter())->info().id, open(*makeWriter())->info().id);
}

TEST_F(RecordingRunTest, isRunningWhileItsWriterLives) {
    const auto writer = makeWriter();
    const RunInfo info = open(*writer)->info();
    EXPECT_EQ(info.state, RunState::running);
    EXPECT_FALSE(info.end);
}

TEST_F(RecordingRunTest, isFinishedAfterFlush) {
    const auto writer = makeWriter();
    writer->flush();
    EXPECT_EQ(open(*writer)->info().state, RunState::finished);
}

TEST_F(RecordingRunTest, isInterruptedIfItsWriterIsDestroyedBeforeFlush) {
    auto writer = makeWriter();
    const std::string location = writer->location();
    writeTimes(*writer, {1.0});
    writer.reset();
    const auto run = open_recording(location);
    EXPECT_EQ(run->info().state, RunState::interrupted);
    EXPECT_TRUE(run->info().end);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
}

TEST_F(RecordingRunTest, stepsOfAnInterruptedRunAreNotHeldBack) {
    options.heldBackSteps = 100;
    auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0, 2.0});
    writer.reset();
    EXPECT_TRUE(run->refresh());
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
}

TEST_F(RecordingRunTest, groupsTellTheirStepsAndTimes) {
    const auto writer = makeWriter(twoGroups());
    write(*writer, 5, 1.5, {1.0, 2.0, 3.0, 4.0});
    write(*writer, 5, 0.5, {1.0, 2.0, 3.0, 4.0});
    writer->flush();
    const auto groups = open(*writer)->groups();
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].id, 0U);
    EXPECT_EQ(groups[0].stepCount, 0U);
    EXPECT_FALSE(groups[0].firstTime);
    EXPECT_FALSE(groups[0].lastTime);
    EXPECT_EQ(groups[1].id, 5U);
    EXPECT_EQ(groups[1].stepCount, 2U);
    EXPECT_EQ(groups[1].firstTime, 1.5);
    EXPECT_EQ(groups[1].lastTime, 0.5);
}

TEST_F(RecordingRunTest, lastTimeIsThatOfTheLastVisibleStep) {
    options.heldBackSteps = 1;
    options.bufferByteCount = 200;
    options.chunkByteCount = 3 * 16;
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0});
    const auto run = open(*writer);
    while (run->groups()[0].stepCount < 5) {
        run->refresh();
    }
    EXPECT_EQ(run->groups()[0].lastTime, 5.0);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0));
}

TEST_F(RecordingRunTest, signalsAreOrderedByGroupChannelAndPath) {
    const auto writer = makeWriter(twoGroups());
    std::vector<std::tuple<std::string, std::size_t, std::size_t, std::size_t>> signals;
    for (const SignalInfo& signal : open(*writer)->signals()) {
        signals.emplace_back(::testing::PrintToString(signal.path), signal.group, signal.channel,
                             signal.width);
    }
    EXPECT_THAT(signals, ElementsAre(std::tuple("same", 0, 1, 1), std::tuple("x", 0, 1, 1),
                                     std::tuple("y", 5, 7, 1), std::tuple("z", 5, 2, 3),
                                     std::tuple("nothing", 5, 3, 0)));
}

TEST_F(RecordingRunTest, signalWithoutSamplesHasAnEmptySeries) {
    const auto writer = makeWriter(twoGroups());
    const auto run = open(*writer);
    const Series series = run->series(ValuePath("z"));
    EXPECT_EQ(series.size(), 0U);
    EXPECT_EQ(series.width(), 3U);
    EXPECT_EQ(run->series(ValuePath("z"), 0.0, 1.0).size(), 0U);
    EXPECT_THAT(run->overview(ValuePath("z"), 0.0, 1.0, 2).sampleCount, ElementsAre(0U, 0U));
}

TEST_F(RecordingRunTest, groupsOfAnyIdCanBeWritten) {
    GroupSetup setup;
    for (const std::size_t id : {~std::size_t{0}, std::size_t{65536}, std::size_t{65535}}) {
        setup.insert(Group(id), LoggedPathsSetupData(paths({{std::to_string(id).c_str(), 1}}),
                                                     channels({{1, 1}})));
    }
    const auto writer = makeWriter(setup);
    for (const auto& [group, data] : setup) {
        write(*writer, group.id(), 1.0, {static_cast<double>(group.id())});
    }
    writer->flush();
    const auto run = open(*writer);
    for (const auto& [group, data] : setup) {
        EXPECT_THAT(valuesOf(*run, std::to_string(group.id()).c_str()),
                    ElementsAre(static_cast<double>(group.id())));
    }
}

TEST_F(RecordingRunTest, overviewOfTooManyBucketsIsRefused) {
    const auto writer = makeWriter(twoGroups());
    const auto run = open(*writer);
    for (const char* path : {"x", "z", "nothing"}) {
        EXPECT_THAT([&] { run->overview(ValuePath(path), 0.0, 1.0, ~std::size_t{0}); },
                    ThrowsMessage<std::invalid_argument>(HasSubstr("an overview has at most")));
    }
}

TEST_F(RecordingRunTest, unknownPathIsNamedInTheError) {
    const auto writer = makeWriter();
    const auto run = open(*writer);
    const auto isNamed = ThrowsMessage<std::out_of_range>(HasSubstr("\"unknown\""));
    EXPECT_THAT([&] { run->series(ValuePath("unknown")); }, isNamed);
    EXPECT_THAT([&] { run->series(ValuePath("unknown"), 0.0, 1.0); }, isNamed);
    EXPECT_THAT([&] { run->overview(ValuePath("unknown"), 0.0, 1.0, 1); }, isNamed);
}

TEST_F(RecordingRunTest, overviewRefusesRangesWithoutMeaning) {
    const auto writer = makeWriter();
    const auto run = open(*writer);
    const ValuePath path("x");
    EXPECT_THROW(run->overview(path, 0.0, 1.0, 0), std::invalid_argument);
    EXPECT_THROW(run->overview(path, 1.0, 0.0, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(path, nan, 1.0, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(path, 0.0, nan, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(path, -infinity, 1.0, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(path, 0.0, infinity, 1), std::invalid_argument);
}

TEST_F(RecordingRunTest, seriesOfOneChunkIsAViewOfTheFile) {
    const auto writer = makeWriter(twoGroups());
    write(*writer, 5, 1.0, {1.0, 2.0, 3.0, 4.0});
    write(*writer, 5, 2.0, {5.0, 6.0, 7.0, 8.0});
    writer->flush();
    const auto run = open(*writer);
    const Series series = run->series(ValuePath("z"));
    EXPECT_TRUE(series.isView());
    EXPECT_THAT(doubles(series.values()), ElementsAre(2.0, 3.0, 4.0, 6.0, 7.0, 8.0));
    EXPECT_TRUE(run->series(ValuePath("z"), 1.5, 2.5).isView());
}

TEST_F(RecordingRunTest, seriesOfSeveralChunksIsACopy) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    writeTimes(*writer, {2.0});
    writer->flush();
    const Series series = open(*writer)->series(ValuePath("x"));
    EXPECT_FALSE(series.isView());
    EXPECT_THAT(doubles(series.values()), ElementsAre(10.0, 20.0));
}

TEST_F(RecordingRunTest, seriesOutlivesItsRunAndItsRecording) {
    auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    auto run = open(*writer);
    const Series series = run->series(ValuePath("x"));
    run.reset();
    std::filesystem::remove_all(writer->location());
    writer.reset();
    EXPECT_THAT(doubles(series.times()), ElementsAre(1.0, 2.0));
    EXPECT_THAT(doubles(series.values()), ElementsAre(10.0, 20.0));
}

TEST_F(RecordingRunTest, seriesStaysAsItIsAfterRefresh) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0, 3.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    const Series series = run->series(ValuePath("x"));
    writer->rollback(0, 1.0);
    writeTimes(*writer, {1.5});
    writer->flushIntermediate();
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0)) << "before refresh()";
    EXPECT_TRUE(run->refresh());
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 1.5));
    EXPECT_THAT(doubles(series.times()), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(RecordingRunTest, seriesTakenApartIsValidInItsScope) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0, 3.0});
    writer->flush();
    const auto [times, values, width] = open(*writer)->series(ValuePath("x"), 2.0, 3.0);
    EXPECT_THAT(doubles(times), ElementsAre(2.0, 3.0));
    EXPECT_THAT(doubles(values), ElementsAre(20.0, 30.0));
    EXPECT_EQ(width, 1U);
}

TEST_F(RecordingRunTest, chunksOfManySizesCanBeRead) {
    const auto writer = makeWriter();
    std::vector<double> times;
    for (int size = 1; size < 70; ++size) {
        for (int step = 0; step < size; ++step) {
            times.push_back(static_cast<double>(times.size()));
            writeTimes(*writer, {times.back()});
        }
        writer->flushIntermediate();
    }
    EXPECT_EQ(timesOf(*open(*writer)), times);
}

TEST_F(RecordingRunTest, directoryMayHaveCharactersThatUrisReserve) {
    options.directory = (directory.path() / "a%b?c#d").string();
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    EXPECT_EQ(timesOf(*open(*writer)), (Doubles{1.0, 2.0}));
    writer->flush();
    EXPECT_EQ(timesOf(*open(*writer)), (Doubles{1.0, 2.0}));
}

TEST_F(RecordingRunTest, errorCanBeAssigned) {
    RecordingError error("here", "this");
    error = RecordingError("there", "that");
    EXPECT_STREQ(error.what(), RecordingError("there", "that").what());
}

TEST_F(RecordingRunTest, relativeDirectoryNeedsACurrentOne) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directory(directory.path() / "gone");
    std::filesystem::current_path(directory.path() / "gone");
    std::filesystem::remove(directory.path() / "gone");
    options.directory = "results";
    EXPECT_THROW(makeWriter(), RecordingError);
    std::filesystem::current_path(before);
}

/// Without the shared memory of its log, an index is read from a copy.
TEST_F(RecordingRunTest, copyOfAnIndexNeedsADirectoryForTemporaryFiles) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    const TemporaryDirectory other;
    for (const char* name : {"samples.bin", "index.sqlite", "index.sqlite-wal"}) {
        std::filesystem::copy(writer->location() + "/" + name, other.path());
    }
    setenv("TMPDIR", (other.path() / "missing").c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    const std::string index = (other.path() / "index.sqlite").string();
    const auto isNamed = ThrowsMessage<RecordingError>(
        HasSubstr(index + ": cannot copy it and its log to the directory TMPDIR"));
    EXPECT_THAT([&] { open_recording(other.path().string()); }, isNamed);
    EXPECT_THAT([&] { check_recording(other.path().string()); }, isNamed);
    unsetenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
}

TEST_F(RecordingRunTest, missingDescriptorsAreNoDamage) {
    const auto writer = makeWriter();
    writer->flush();
    const NoDescriptors none;
    const auto isNamed = ThrowsMessage<RecordingError>(HasSubstr("Too many open files"));
    EXPECT_THAT([&] { open(*writer); }, isNamed);
    EXPECT_THAT([&] { check_recording(writer->location()); }, isNamed);
}

TEST_F(RecordingRunTest, directoryWithoutPermissionIsNamed) {
    const auto writer = makeWriter();
    writer->flush();
    const OrdinaryPermissions ordinary;
    std::filesystem::permissions(writer->location(), std::filesystem::perms::none);
    EXPECT_THAT([&] { open(*writer); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot open it: Permission denied")));
    std::filesystem::permissions(writer->location(), std::filesystem::perms::owner_all);
}

TEST_F(RecordingRunTest, zeroByteInANameDoesNotEndIt) {
    const auto writer = makeWriter();
    writer->flush();
    const std::string name = writer->location() + std::string("\0x", 2);
    const std::string newName = options.directory + std::string("/new\0x", 6);
    const auto isRefused = ThrowsMessage<RecordingError>(HasSubstr("zero byte"));
    EXPECT_THAT([&] { open_recording(name); }, isRefused);
    EXPECT_THAT([&] { check_recording(name); }, isRefused);
    EXPECT_THAT([&] { copy_recording(writer->location(), newName); }, isRefused);
    EXPECT_THAT([&] { rebuild_recording(writer->location(), newName); }, isRefused);
    EXPECT_THAT([&] { list_recordings(options.directory + std::string("\0x", 2)); }, isRefused);
}

TEST_F(RecordingRunTest, summaryTellsHowManyBytesTheValuesTake) {
    const auto writer = makeWriter(twoGroups());
    write(*writer, 5, 1.0, {7.0, 2.0, 3.0, 4.0});
    write(*writer, 5, 2.0, {7.0, 2.0, 3.0, 4.0});
    writer->flush();
    const auto run = open(*writer);
    EXPECT_EQ(run->summary(ValuePath("z")).byteCount, 2 * 3 * sizeof(double));
    EXPECT_EQ(run->summary(ValuePath("nothing")).byteCount, 0U);
}

TEST_F(RecordingRunTest, summaryOfASignalWithoutSamplesIsEmpty) {
    const auto writer = makeWriter(twoGroups());
    writer->flush();
    const SignalSummary summary = open(*writer)->summary(ValuePath("x"));
    EXPECT_EQ(summary.sampleCount, 0U);
    EXPECT_EQ(summary.leastTime, std::nullopt);
    EXPECT_EQ(summary.byteCount, 0U);
    EXPECT_THAT(summary.least, ::testing::ElementsAre(infinity));
}

TEST_F(RecordingRunTest, stepsThatDoNotExistAreRefused) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    const auto run = open(*writer);
    const ValuePath path("x");
    EXPECT_EQ(run->series(path, StepRange{2, 0}).size(), 0U);
    EXPECT_THROW(run->series(path, (StepRange{3, 0})), std::out_of_range);
    EXPECT_THROW(run->series(path, (StepRange{1, 2})), std::out_of_range);
    EXPECT_THROW(run->series(path, (StepRange{1, std::numeric_limits<std::size_t>::max()})),
                 std::out_of_range);
    EXPECT_THROW(run->series(ValuePath("y"), (StepRange{0, 0})), std::out_of_range);
    EXPECT_THROW(run->steps(7, 0.0, 1.0), std::out_of_range);
    EXPECT_THROW(run->summary(ValuePath("y")), std::out_of_range);
}

} // namespace
} // namespace logging2::core::test
