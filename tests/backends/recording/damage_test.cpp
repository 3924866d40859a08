#include <tests/backends/recording/damaged_recordings.hpp>
#include <tests/backends/recording/repaired_hashes.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <chrono>
#include <cstring>

namespace logging2::core::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Property;
using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

/// An error whose message begins with the place and holds the text.
auto throws_at(const fs::path& place, const char* text) {
    return Throws<RecordingError>(
        AllOf(Property(&RecordingError::location, place.string()),
              Property(&RecordingError::what,
                       AllOf(::testing::StartsWith(place.string() + ": "), HasSubstr(text)))));
}

class RecordingDamageTest : public DamagedRecordingTest {
protected:
    /// Where the payload of the long chunk has what; its directory has three roots.
    static constexpr std::size_t headerByteCount = 128;
    static constexpr std::size_t directoryOffset = headerByteCount;
    static constexpr std::size_t times = directoryOffset + 128;
    static constexpr std::size_t timeLeaves = times + longStepCount * 8;

    void expectDamage(const fs::path& place, const char* text) const {
        EXPECT_THAT([this] { readAll(); }, throws_at(place, text));
    }

    /// What becomes of a byte that is flipped in the long chunk.
    void expectChunkDamage(std::size_t offsetInChunk, const char* text) {
        flip(samples(), chunkOffset() + offsetInChunk);
        expectDamage(samples(), text);
        flip(samples(), chunkOffset() + offsetInChunk);
    }
};

TEST_F(RecordingDamageTest, wholeRecordingHasNone) {
    EXPECT_NO_THROW(readAll());
}

TEST_F(RecordingDamageTest, missingDirectoryIsNoRecording) {
    fs::remove_all(location);
    expectDamage(location, "it is not a directory, and so not a recording");
}

TEST_F(RecordingDamageTest, fileIsNoRecording) {
    EXPECT_THAT([this] { open_recording(samples().string()); },
                throws_at(samples(), "it is not a directory, and so not a recording"));
}

TEST_F(RecordingDamageTest, missingIndexIsNamed) {
    fs::remove(index());
    expectDamage(index(), "it does not exist");
}

TEST_F(RecordingDamageTest, foreignDatabaseIsNoIndex) {
    fs::remove(index());
    run_sql(index(), "CREATE TABLE run (key TEXT, value TEXT)");
    expectDamage(index(), "it is not the index of a recording");
}

TEST_F(RecordingDamageTest, emptyFileIsNoIndex) {
    writeBytes(index(), "");
    expectDamage(index(), "it is not the index of a recording");
}

TEST_F(RecordingDamageTest, textIsNoIndex) {
    writeBytes(index(), std::string(5000, 'x'));
    expectDamage(index(), "file is not a database");
}

TEST_F(RecordingDamageTest, indexOfANewerVersionIsRefused) {
    run_sql(index(), "PRAGMA user_version = 2");
    expectDamage(index(), "it was written by a newer version of logging2");
}

TEST_F(RecordingDamageTest, dataFileOfANewerVersionIsRefused) {
    flip(samples(), 8, 1 ^ 2);
    expectDamage(samples(), "it was written by a newer version of logging2");
}

TEST_F(RecordingDamageTest, missingTableIsDamage) {
    run_sql(index(), "DROP TABLE chunk");
    expectDamage(index(), "it is damaged: the table \"chunk\" is missing");
}

TEST_F(RecordingDamageTest, missingChunkIsDamage) {
    run_sql(index(), "DELETE FROM chunk WHERE first_step = 0");
    expectDamage(index(), "it is damaged: the chunks of a group do not follow each other");
}

TEST_F(RecordingDamageTest, channelWithoutItsGroupIsDamage) {
    run_sql(index(), "UPDATE channel SET signal_group = 9");
    expectDamage(index(), "it is damaged: a channel has no group");
}

TEST_F(RecordingDamageTest, chunksThatContradictTheirGroupAreDamage) {
    const std::string before = bytesOf(index());
    for (const char* change :
         {"UPDATE chunk SET steps = 0", "UPDATE chunk SET steps = stored_steps + 1",
          "UPDATE signal_group SET steps = steps + 1",
          "UPDATE signal_group SET shown_steps = steps + 1"}) {
        change_index(index(), change);
        EXPECT_THROW(readAll(), RecordingError) << change;
        writeBytes(index(), before);
    }
    EXPECT_NO_THROW(readAll());
}

TEST_F(RecordingDamageTest, pathWithoutItsGroupIsDamage) {
    run_sql(index(), "UPDATE path SET signal_group = 9");
    expectDamage(index(), "it is damaged: a path has no group");
}

TEST_F(RecordingDamageTest, chunkThatCannotBeSoLargeIsDamage) {
    const std::size_t huge = std::size_t{1} << 62;
    change_index(index(), "UPDATE chunk SET byte_count = 0, stored_steps = " +
                              std::to_string(huge) + " WHERE first_step = 0");
    expectDamage(location, "the index is damaged: a chunk of a recording cannot be so large");
}

TEST_F(RecordingDamageTest, descriptionWithoutMeaningIsDamage) {
    // The id is not one, and all hashes say that it was written so.
    const std::string id = opened()->info().id;
    const std::string wrong(id.size(), 'x');
    change_index(index(), "UPDATE run SET value = '" + wrong + "' WHERE key = 'id'");
    std::string bytes = bytesOf(samples());
    bytes.replace(bytes.find(id), id.size(), wrong);
    detail::RecordHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    header.payloadHash = detail::hash_of(bytes.data() + sizeof header, header.payloadByteCount);
    header.headerHash = detail::hash_of(header);
    std::memcpy(bytes.data(), &header, sizeof header);
    writeBytes(samples(), bytes);
    expectDamage(location, "");
}

TEST_F(RecordingDamageTest, missingLastChunkIsDamage) {
    run_sql(index(), "DELETE FROM chunk WHERE first_step > 0");
    expectDamage(index(), "it is damaged: a group has another number of steps than its chunks");
}

TEST_F(RecordingDamageTest, missingDataFileIsNamed) {
    fs::remove(samples());
    expectDamage(samples(), "cannot open it: No such file or directory");
}

TEST_F(RecordingDamageTest, foreignDataFileIsRefused) {
    writeBytes(samples(), std::string(5000, 'x'));
    expectDamage(samples(), "it is not a recording's data file");
}

TEST_F(RecordingDamageTest, emptyDataFileEndsTooEarly) {
    writeBytes(samples(), "");
    expectDamage(samples(), "it ends too early: bytes are missing");
}

TEST_F(RecordingDamageTest, shortenedDataFileEndsTooEarly) {
    const std::string bytes = bytesOf(samples());
    for (const std::size_t left : {std::size_t{127}, chunkOffset(), chunkOffset() + 127,
                                   chunkOffset() + 5000, bytes.size() - 64}) {
        writeBytes(samples(), bytes.substr(0, left));
        expectDamage(samples(), "it ends too early: bytes are missing");
    }
}

TEST_F(RecordingDamageTest, lossOfTheTailLeavesTheRestReadable) {
    fs::resize_file(samples(), static_cast<std::uintmax_t>(number_in(
                                   index(), "SELECT offset FROM chunk WHERE first_step > 0")));
    EXPECT_EQ(opened()->series(ValuePath("x"), 0.0, 59.9).size(), longStepCount);
}

TEST_F(RecordingDamageTest, logWithoutFramesHoldsNothing) {
    // The writer was killed after it had written the log's header.
    writeBytes(location / "index.sqlite-wal",
               {"\x37\x7f\x06\x82\x00\x2d\xe2\x18\x00\x00\x10\x00\x00\x00\x00\x00"
                "\xab\x48\xb4\x36\x96\xc1\xa8\xaa\x0b\x9b\x4b\xbe\x6e\x2b\xe4\xf9",
                32});
    writeBytes(location / "index.sqlite-shm", std::string(32768, '\0'));
    EXPECT_NO_THROW(readAll());
}

TEST_F(RecordingDamageTest, logThatIsNoneIsNotWaitedFor) {
    const auto start = std::chrono::steady_clock::now();
    writeBytes(location / "index.sqlite-wal", std::string(5000, 'x'));
    writeBytes(location / "index.sqlite-shm", std::string(32768, '\0'));
    expectDamage(index(), "its log is damaged");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(RecordingDamageTest, filesOfDifferentRecordingsAreToldApart) {
    const auto other = makeWriter();
    fs::copy_file(other->location() + "/samples.bin", samples(),
                  fs::copy_options::overwrite_existing);
    expectDamage(location, "the index and the data file belong to different recordings");
}

TEST_F(RecordingDamageTest, changedDescriptionIsDamage) {
    run_sql(index(), "UPDATE property SET value = 'bell'");
    expectDamage(location, "the index and the data file belong to different recordings, or one of "
                           "them is damaged");
}

TEST_F(RecordingDamageTest, flippedByteOfTheFirstHeaderIsFound) {
    flip(samples(), 40);
    expectDamage(samples(), "a record's header is damaged");
}

TEST_F(RecordingDamageTest, flippedByteOfAChunkIsFound) {
    expectChunkDamage(0, "it is not a recording's data file");
    expectChunkDamage(40, "a record's header is damaged");
    expectChunkDamage(120, "a record's header is damaged");
    expectChunkDamage(directoryOffset, "its directory has another hash");
    expectChunkDamage(directoryOffset + 40, "its directory has another hash");
    expectChunkDamage(times, "samples have another hash");
    expectChunkDamage(times + 8 * 599, "samples have another hash");
    expectChunkDamage(timeLeaves, "nodes of a column's tree have another hash");
    expectChunkDamage(timeLeaves + 3 * 32 - 1, "nodes of a column's tree have another hash");
    EXPECT_NO_THROW(readAll());
}

TEST_F(RecordingDamageTest, flippedValueIsFoundByEveryQuestion) {
    const std::size_t values = (timeLeaves + 3 * 32 + 63) / 64 * 64;
    flip(samples(), chunkOffset() + values + 8 * 300);
    const auto run = opened();
    const ValuePath x("x");
    const auto isFound = throws_at(samples(), "samples have another hash");
    EXPECT_THAT([&] { run->series(x); }, isFound);
    EXPECT_THAT([&] { run->series(x, 29.0, 31.0); }, isFound);
    EXPECT_THAT([&] { run->overview(x, 29.0, 31.0, 50); }, isFound);
    EXPECT_EQ(run->series(x, 0.0, 10.0).size(), 101U) << "another leaf";
    EXPECT_EQ(run->series(ValuePath("v")).size(), stepCount) << "another signal";
}

TEST_F(RecordingDamageTest, rangeReadsOnlyTimesAtItsEnds) {
    flip(samples(), chunkOffset() + times + 8 * 300);
    const auto run = opened();
    const ValuePath x("x");
    EXPECT_THROW(run->series(x, 29.0, 31.0), RecordingError);
    EXPECT_EQ(run->series(x, 1.0, 10.0).size(), 91U);
    EXPECT_EQ(run->series(x, 55.0, 70.0).size(), 150U);
}

TEST_F(RecordingDamageTest, chunkAtAnotherPlaceIsNotTakenForIt) {
    run_sql(index(), "UPDATE chunk SET offset = (SELECT offset FROM chunk WHERE first_step = 0)");
    EXPECT_THROW(readAll(), RecordingError);
}

TEST_F(RecordingDamageTest, changedRowOfTheIndexIsFound) {
    const std::string former = bytesOf(index());
    for (const char* change :
         {"UPDATE run SET value = 'interrupted' WHERE key = 'state'",
          "UPDATE run SET value = '1' WHERE key = 'revision'",
          "UPDATE signal_group SET shown_steps = 1", "UPDATE chunk SET least_time = 100",
          "UPDATE chunk SET greatest_time = NULL"}) {
        writeBytes(index(), former);
        run_sql(index(), change);
        expectDamage(index(), "it is damaged: a row has another hash");
    }
    writeBytes(index(), former);
    run_sql(index(), "DELETE FROM run WHERE key = 'state'");
    expectDamage(index(), "it is damaged: the run has no state");
}

TEST_F(RecordingDamageTest, placeOfAChunkIsChecked) {
    const std::string former = bytesOf(index());
    const auto expectOf = [&](const char* change, const fs::path& place, const char* text) {
        writeBytes(index(), former);
        change_index(index(), change);
        expectDamage(place, text);
    };
    expectOf("UPDATE chunk SET offset = offset + 8", index(),
             "it is damaged: a chunk begins where no record can be");
    expectOf("UPDATE chunk SET offset = -64, byte_count = 128", samples(),
             "it ends too early: bytes are missing");
    expectOf("UPDATE chunk SET offset = offset - 64", samples(),
             "is damaged: it is not a recording's data file");
}

TEST_F(RecordingDamageTest, chunkIsNotTrustedForAnotherOfItsNumber) {
    // Both chunks have the number of the long one, and only the long one is at its place.
    change_index(index(), "UPDATE chunk SET sequence = 1");
    const auto run = opened();
    EXPECT_EQ(run->series(ValuePath("x"), 0.0, 10.0).size(), 101U);
    EXPECT_THAT([&] { run->series(ValuePath("x"), 65.0, 66.0); },
                throws_at(samples(), "the index expects another chunk there"));
}

TEST_F(RecordingDamageTest, stepsThatOverflowAreDamage) {
    change_index(index(), "UPDATE chunk SET steps = -100, stored_steps = -100 WHERE first_step > 0;"
                          "UPDATE signal_group SET steps = 500");
    expectDamage(index(), "it is damaged: a group has too many steps");
}

TEST_F(RecordingDamageTest, numberOfTheCommitDoesNotMatterAtFirst) {
    change_index(index(), "UPDATE run SET value = '0' WHERE key = 'commit'");
    EXPECT_EQ(opened()->groups()[0].stepCount, stepCount);
}

TEST_F(RecordingDamageTest, endThatIsNoTimeIsDamage) {
    change_index(index(), "UPDATE run SET value = 'soon' WHERE key = 'end'");
    expectDamage(index(), "it is damaged: \"soon\" is not a time");
}

TEST_F(RecordingDamageTest, indexWithMoreStepsThanTheFileHoldsIsRefused) {
    // The number of doubles of the series overflows to a small one.
    const std::size_t many = (std::size_t{1} << 63) - longStepCount / 2;
    const auto text = [](std::size_t number) {
        return std::to_string(static_cast<std::int64_t>(number));
    };
    change_index(index(), "UPDATE chunk SET steps = " + text(many) +
                              ", stored_steps = " + text(many) +
                              " WHERE first_step > 0;"
                              "UPDATE signal_group SET shown_steps = 0, steps = " +
                              text(longStepCount + many));
    const auto run = opened();
    EXPECT_THAT([&] { run->series(ValuePath("x")); },
                throws_at(location, "the index is damaged: it names more samples than the data "
                                    "file holds"));
}

/// The files of a group's former state and of its present one, which has as many steps.
class StaleIndexTest : public DamagedRecordingTest {
protected:
    StaleIndexTest() {
        const auto writer = makeWriter();
        location = writer->location();
        writeTimes(*writer, {1.0, 2.0});
        writer->flushIntermediate();
        fs::create_directory(stale());
        fs::copy(location, stale());
        writer->rollback(0, 1.0);
        writeTimes(*writer, {3.0});
        writer->flush();
    }

    fs::path stale() const { return directory.path() / "stale"; }
};

TEST_F(StaleIndexTest, pageOfFormerChunksIsDamage) {
    EXPECT_EQ(timesOf(*opened()), (Doubles{1.0, 3.0}));
    // The data file still has the discarded chunk, and its former row fits its hash.
    run_sql(index(), "ATTACH '" + (stale() / "index.sqlite").string() +
                         "' AS stale; DELETE FROM chunk;"
                         "INSERT INTO chunk SELECT * FROM stale.chunk");
    EXPECT_THAT([this] { opened(); },
                throws_at(index(), "the chunks of a group belong to another state of it"));
    EXPECT_THAT(check_recording(location.string()).findings,
                ::testing::ElementsAre(HasSubstr("group 0: the sum of its chunks' hashes is ")));
}

TEST_F(RecordingTest, groupThatGoesWhileTheRunIsReadIsDamage) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    change_index(writer->location() + "/index.sqlite",
                 "DELETE FROM signal_group; UPDATE run SET value = value + 1 WHERE key = 'commit'");
    EXPECT_THAT([&] { run->refresh(); },
                ThrowsMessage<RecordingError>(HasSubstr("the number of groups has changed")));
}

} // namespace
} // namespace logging2::core::test
