#include <tests/backends/recording/recordings.hpp>

#include <logging2/memory/MemoryDatastore.hpp>

#include <stdexcept>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

class RecordingCallsTest : public RecordingTest {
protected:
    std::unique_ptr<RecordingStreamWriter> writer = makeWriter();
    const double value = 10.0;
};

TEST_F(RecordingCallsTest, writeAfterFlushIsALogicError) {
    writeTimes(*writer, {1.0});
    writer->flush();
    EXPECT_THAT([this] { writer->write(0, 2.0, &value, 1); },
                ThrowsMessage<std::logic_error>(HasSubstr("write was called after flush")));
    EXPECT_THAT([this] { writer->rollback(0, 0.0); },
                ThrowsMessage<std::logic_error>(HasSubstr("rollback was called after flush")));
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

TEST_F(RecordingCallsTest, everyEndMayBeRepeated) {
    writeTimes(*writer, {1.0});
    writer->flush();
    writer->flush();
    writer->close();
    writer->flushIntermediate();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
    EXPECT_EQ(open(*writer)->info().state, RunState::finished);
}

TEST_F(RecordingCallsTest, closeEndsTheRun) {
    writeTimes(*writer, {1.0});
    writer->close();
    EXPECT_EQ(open(*writer)->info().state, RunState::finished);
    EXPECT_THROW(writer->write(0, 2.0, &value, 1), std::logic_error);
}

TEST_F(RecordingCallsTest, wrongNumberOfValuesIsRefusedAndChangesNothing) {
    const Doubles many(100, 1.0);
    for (const std::size_t n : {0U, 2U, 100U}) {
        EXPECT_THAT([&] { writer->write(0, 1.0, many.data(), n); },
                    ThrowsMessage<std::invalid_argument>(HasSubstr(
                        "group 0 has 1 values per step, but write got " + std::to_string(n))));
    }
    writeTimes(*writer, {1.0});
    EXPECT_THROW(writer->write(0, 1.0, many.data(), 2), std::invalid_argument);
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

TEST_F(RecordingCallsTest, unknownGroupIsNamed) {
    for (const std::size_t group : {std::size_t{1}, std::size_t{70000}, ~std::size_t{0}}) {
        const auto isNamed = ThrowsMessage<std::out_of_range>(
            HasSubstr("there is no group " + std::to_string(group)));
        EXPECT_THAT([&] { writer->write(group, 1.0, &value, 1); }, isNamed);
        EXPECT_THAT([&] { writer->rollback(group, 1.0); }, isNamed);
    }
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), IsEmpty());
}

TEST_F(RecordingCallsTest, groupBetweenTwoOthersIsUnknown) {
    const auto other = makeWriter(twoGroups());
    EXPECT_THAT([&] { other->write(3, 1.0, &value, 1); },
                ThrowsMessage<std::out_of_range>(HasSubstr("there is no group 3")));
}

TEST_F(RecordingCallsTest, dataStoreOfAnUnknownPathIsOutOfRange) {
    EXPECT_THAT([this] { writer->dataStore(ValuePath("unknown")); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\"unknown\"")));
}

TEST_F(RecordingCallsTest, writerHasNoDataStoreInfo) {
    EXPECT_FALSE(writer->dataStoreInfo());
}

TEST_F(RecordingCallsTest, movedWriterGoesOnWithTheRecording) {
    writeTimes(*writer, {1.0});
    const std::string location = writer->location();
    RecordingStreamWriter moved(std::move(*writer));
    writeTimes(moved, {2.0});
    const auto other = makeWriter();
    const std::string otherLocation = other->location();
    *other = std::move(moved);
    EXPECT_EQ(open_recording(otherLocation)->info().state, RunState::interrupted);
    writeTimes(*other, {3.0});
    other->flush();
    EXPECT_EQ(other->location(), location);
    EXPECT_THAT(timesOf(*open_recording(location)), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(RecordingCallsTest, readersStayValidAfterTheWriterIsGone) {
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    const boost::any store = writer->dataStore(ValuePath("x"));
    const RecordingStreamReader reader(store);
    writer.reset();
    EXPECT_THAT(reader.times(), ElementsAre(1.0, 2.0));
    EXPECT_THAT(RecordingStreamReader(store).timeseries().second, ElementsAre(10.0, 20.0));
    std::filesystem::remove_all(directory.path());
    EXPECT_THAT(reader.clone()->timeseries().second, ElementsAre(10.0, 20.0));
    EXPECT_THROW(RecordingStreamReader{store}, RecordingError);
}

TEST_F(RecordingCallsTest, readerOfAForeignStoreIsABadCast) {
    EXPECT_THROW(RecordingStreamReader{boost::any(MemoryDatastore())}, boost::bad_any_cast);
    EXPECT_THAT(RecordingStreamReader(boost::any()).times(), IsEmpty());
}

TEST_F(RecordingCallsTest, deletedFilesAreReported) {
    for (const char* file : {"", "/samples.bin", "/index.sqlite"}) {
        writer = makeWriter();
        writeTimes(*writer, {1.0});
        std::filesystem::remove_all(writer->location() + file);
        // The directory is named once.
        const std::string name = *file == '\0' ? "/samples.bin" : file;
        const auto isReported = ThrowsMessage<RecordingError>(
            StartsWith(writer->location() + ": " + name.substr(1) + ": it was deleted"));
        EXPECT_THAT([this] { writer->flushIntermediate(); }, isReported) << file;
        EXPECT_THAT([this] { writer->flush(); }, isReported) << file;
        writer.reset();
    }
}

/// The files of a recording as a killed host leaves them.
std::string left_behind(const std::string& location, const TemporaryDirectory& place) {
    for (const char* name : {"/samples.bin", "/index.sqlite", "/index.sqlite-wal"}) {
        std::filesystem::copy_file(location + name, place.path().string() + name);
    }
    return place.path().string();
}

TEST_F(RecordingCallsTest, deletedLogIsMadeAgainByTheNextCommit) {
    for (const auto& files :
         {std::vector{"-wal"}, std::vector{"-shm"}, std::vector{"-wal", "-shm"}}) {
        writer = makeWriter();
        writeTimes(*writer, {1.0});
        writer->flushIntermediate();
        for (const char* file : files) {
            std::filesystem::remove(writer->location() + "/index.sqlite" + file);
        }
        writeTimes(*writer, {2.0});
        writer->flushIntermediate();
        const TemporaryDirectory place;
        EXPECT_THAT(timesOf(*open_recording(left_behind(writer->location(), place))),
                    ElementsAre(1.0, 2.0));
        EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0));
        writeTimes(*writer, {3.0});
        writer->flush();
        EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0, 3.0));
    }
}

TEST_F(RecordingCallsTest, deletedLogIsReportedWhileSomebodyReads) {
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    auto run = open(*writer);
    std::filesystem::remove(writer->location() + "/index.sqlite-wal");
    writeTimes(*writer, {2.0});
    EXPECT_THAT([this] { writer->flushIntermediate(); },
                ThrowsMessage<RecordingError>(HasSubstr("its log was deleted or moved")));
    run.reset();
    writer->flushIntermediate();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0));
}

TEST_F(RecordingCallsTest, movedRecordingGoesOnOnceItIsBack) {
    const std::string elsewhere = (directory.path() / "elsewhere").string();
    writeTimes(*writer, {1.0});
    std::filesystem::rename(writer->location(), elsewhere);
    EXPECT_THAT([this] { writer->flushIntermediate(); },
                ThrowsMessage<RecordingError>(HasSubstr("it was deleted or moved")));
    std::filesystem::rename(elsewhere, writer->location());
    writeTimes(*writer, {2.0});
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0));
}

} // namespace
} // namespace logging2::core::test
