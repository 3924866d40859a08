#include <tests/backends/recording/checked_recordings.hpp>

#include <tests/support/OrdinaryPermissions.hpp>

// check_recording: every fault is named, and nothing is changed.

namespace logging2::core::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

TEST_F(CheckRecordingTest, wholeRecordingHasNoFindings) {
    const RecordingCheck result = check();
    EXPECT_THAT(result.findings, IsEmpty());
    EXPECT_EQ(result.findingCount, 0U);
    EXPECT_EQ(result.chunkCount, 2U);
    EXPECT_EQ(result.stepCount, stepCount);
    EXPECT_EQ(result.byteCount, fs::file_size(samples()) - chunkOffset());
}

TEST_F(CheckRecordingTest, progressReachesTheTotal) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> calls;
    const RecordingCheck result =
        check_recording(location.string(), [&](std::uint64_t read, std::uint64_t total) {
            calls.emplace_back(read, total);
        });
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_LT(calls[0].first, calls[1].first);
    EXPECT_EQ(calls[1], std::make_pair(result.byteCount, result.byteCount));
}

TEST_F(CheckRecordingTest, exceptionOfTheProgressEndsTheCheck) {
    const auto stop = [](std::uint64_t, std::uint64_t) { throw std::runtime_error("stopped"); };
    EXPECT_THAT([&] { check_recording(location.string(), stop); },
                ThrowsMessage<std::runtime_error>(HasSubstr("stopped")));
}

TEST_F(CheckRecordingTest, missingDirectoryIsAnError) {
    fs::remove_all(location);
    EXPECT_THAT([this] { check(); },
                ThrowsMessage<RecordingError>(HasSubstr("it is not a directory")));
}

TEST_F(CheckRecordingTest, missingIndexLeavesTheDataFileToBeChecked) {
    fs::remove(index());
    expectOnlyFinding(index(), "it does not exist");
    flip(samples(), 200);
    EXPECT_THAT(findings(), ElementsAre(HasSubstr("index.sqlite: it does not exist"),
                                        HasSubstr("samples.bin: the description of the run has "
                                                  "another hash")));
}

TEST_F(CheckRecordingTest, missingDataFileIsAFinding) {
    fs::remove(samples());
    expectOnlyFinding(samples(), "cannot open it: No such file or directory");
}

TEST_F(CheckRecordingTest, damagedDescriptionLeavesTheSamplesToBeChecked) {
    flip(samples(), 200);
    flip(samples(), chunkOffset() + times);
    EXPECT_THAT(findings(), ElementsAre(HasSubstr("the description of the run has another hash"),
                                        HasSubstr("samples have another hash")));
}

TEST_F(CheckRecordingTest, foreignFilesAreFindings) {
    writeBytes(index(), std::string(5000, 'x'));
    expectFinding(index(), "file is not a database");
    fs::remove(index());
    run_sql(index(), "CREATE TABLE run (key TEXT, value TEXT)");
    expectFinding(index(), "it is not the index of a recording");
    writeBytes(samples(), std::string(5000, 'x'));
    expectFinding(samples(), "it is not a recording's data file");
    writeBytes(samples(), "");
    expectFinding(samples(), "it ends too early: bytes are missing");
}

TEST_F(CheckRecordingTest, otherVersionsAreFindings) {
    run_sql(index(), "PRAGMA user_version = 2");
    expectFinding(index(), "it was written by a newer version of logging2");
    run_sql(index(), "PRAGMA user_version = 0");
    expectFinding(index(), "there is no such version of the format: 0");
    flip(samples(), 8, 1 ^ 2);
    expectFinding(samples(), "it was written by a newer version of logging2");
}

TEST_F(CheckRecordingTest, everythingElseInTheDatabaseIsAFinding) {
    run_sql(index(), "ALTER TABLE chunk RENAME TO former;"
                     "CREATE VIEW chunk AS SELECT * FROM former");
    EXPECT_THAT(findings(), ::testing::IsSupersetOf(
                                {HasSubstr("its view \"chunk\" is not that of a recording"),
                                 HasSubstr("its table \"former\" is not that of a recording"),
                                 HasSubstr("the table \"chunk\" is missing")}));
}

TEST_F(CheckRecordingTest, otherRecordingsDataFileIsAFinding) {
    const auto other = makeWriter();
    other->flush();
    fs::copy_file(other->location() + "/samples.bin", samples(),
                  fs::copy_options::overwrite_existing);
    expectFinding(samples(), "it describes the run by \"id ");
}

TEST_F(CheckRecordingTest, shorterDescriptionIsAFinding) {
    run_sql(index(), "DELETE FROM path WHERE text = 'v'");
    expectOnlyFinding(samples(), "it describes the run by \"path 1 v\", but the index by \"\"");
    run_sql(index(), "INSERT INTO path VALUES ('v', 0, 1); INSERT INTO path VALUES ('w', 0, 1)");
    expectOnlyFinding(samples(), "it describes the run by \"\", but the index by \"path 1 w\"");
}

TEST_F(CheckRecordingTest, rowWithAnotherHashIsNamed) {
    struct Change {
        const char* statement;
        const char* row;
    };
    const std::string former = bytesOf(index());
    for (const auto& [statement, row] :
         {Change{"UPDATE run SET value = 'interrupted' WHERE key = 'state'", "the run's state"},
          Change{"UPDATE signal_group SET shown_steps = 1", "group 3"},
          Change{"UPDATE chunk SET hash = 1 WHERE first_step > 0", "the chunk of sequence 2"}}) {
        writeBytes(index(), former);
        run_sql(index(), statement);
        expectFinding(index(), std::string("the hash of ") + row + " is ");
    }
}

TEST_F(CheckRecordingTest, valuesOfTheRunAreChecked) {
    const std::string former = bytesOf(index());
    const auto expectOf = [&](const char* statement, const char* finding) {
        writeBytes(index(), former);
        run_sql(index(), statement);
        expectFinding(index(), finding);
    };
    expectOf("DELETE FROM run WHERE key = 'commit'", "the run has no commit");
    expectOf("INSERT INTO run VALUES ('colour', 'red', 0)",
             "the run has an unknown key \"colour\"");
    expectOf("UPDATE run SET value = 'lost' WHERE key = 'state'",
             "the run's state cannot be \"lost\"");
    expectOf("UPDATE run SET value = 'running' WHERE key = 'state'",
             "the run has an end but its state is running");
    expectOf("UPDATE run SET value = '-1' WHERE key = 'revision'",
             "the run's revision cannot be \"-1\"");
    expectOf("UPDATE run SET value = '5 ' WHERE key = 'commit'", "the run's commit cannot be");
    expectOf("UPDATE run SET value = 'big' WHERE key = 'byte_order'",
             "the run's byte_order cannot be \"big\"");
    expectOf("UPDATE run SET value = 'now' WHERE key = 'end'", "\"now\" is not a time");
    expectOf("UPDATE run SET value = 'a' || char(10) || 'b' WHERE key = 'state'",
             "the run's state cannot be \"a?b\"");
}

TEST_F(CheckRecordingTest, rowsWithoutTheirGroupAreFindings) {
    const std::string former = bytesOf(index());
    const auto expectOf = [&](const char* statement, const char* finding) {
        writeBytes(index(), former);
        run_sql(index(), statement);
        expectFinding(index(), finding);
    };
    expectOf("UPDATE signal_group SET position = 1", "a group's position is 1 instead of 0");
    expectOf("UPDATE channel SET signal_group = 7 WHERE number = 1", "a channel has no group");
    expectOf("UPDATE channel SET position = 5 WHERE number = 1",
             "a channel's position is 5 instead of 1");
    expectOf("UPDATE path SET signal_group = -1 WHERE text = 'v'", "the path \"v\" has no group");
    expectOf("UPDATE path SET channel = 9 WHERE text = 'v'",
             "a path shows a channel that its group has not");
    expectOf("UPDATE chunk SET signal_group = 2 WHERE sequence = 2",
             "the chunk of sequence 2 has no group");
}

TEST_F(CheckRecordingTest, chunksMustFollowEachOther) {
    const std::string former = bytesOf(index());
    run_sql(index(), "DELETE FROM chunk WHERE first_step = 0");
    expectFinding(index(), "group 3: the first step of a chunk is 600 instead of 0");
    writeBytes(index(), former);
    run_sql(index(), "DELETE FROM chunk WHERE first_step > 0");
    expectFinding(index(), "group 3: the number of steps is 700 instead of 600");
    run_sql(index(), "UPDATE signal_group SET shown_steps = 701");
    expectFinding(index(), "group 3: 701 steps are shown of 700");
    writeBytes(index(), former);
    run_sql(index(), "UPDATE chunk SET steps = 601 WHERE first_step = 0");
    expectFinding(index(), "group 3: of the 600 steps of a chunk, 601 belong to the run");
    writeBytes(index(), former);
    run_sql(index(), "UPDATE chunk SET sequence = 9 WHERE first_step = 0");
    expectFinding(samples(), "overlap or have the wrong order");
}

TEST_F(CheckRecordingTest, damagedPageOfTheDatabaseIsAFinding) {
    std::string bytes = bytesOf(index());
    // The last page holds the rows of the last table.
    std::memset(bytes.data() + bytes.size() - 4096, 0x55, 100);
    writeBytes(index(), bytes);
    expectFinding(index(), "malformed");
}

TEST_F(CheckRecordingTest, pagesThatNameEachOtherDoNotMultiplyRows) {
    constexpr std::size_t pageByteCount = 4096;
    std::string bytes = bytesOf(index());
    const auto root = static_cast<std::size_t>(
        number_in(index(), "SELECT rootpage FROM sqlite_schema WHERE name = 'signal_group'"));
    const auto put = [](std::string& page, std::size_t offset, std::size_t number, int size) {
        for (int i = size - 1; i >= 0; --i, number /= 256) {
            page[offset + static_cast<std::size_t>(i)] = static_cast<char>(number % 256);
        }
    };
    // Inner pages, each of which names the next one hundreds of times, and then the leaf.
    constexpr std::size_t cellCount = 400;
    const auto innerPage = [&](std::size_t child) {
        std::string page(pageByteCount, '\0');
        page[0] = 5;
        put(page, 3, cellCount, 2);
        put(page, 5, 1000, 2);
        put(page, 8, child, 4);
        for (std::size_t cell = 0; cell < cellCount; ++cell) {
            put(page, 12 + 2 * cell, 1000 + 5 * cell, 2);
            put(page, 1000 + 5 * cell, child, 4);
            page[1000 + 5 * cell + 4] = 1;
        }
        return page;
    };
    const std::string leaf = bytes.substr((root - 1) * pageByteCount, pageByteCount);
    const std::size_t pageCount = bytes.size() / pageByteCount;
    bytes.replace((root - 1) * pageByteCount, pageByteCount, innerPage(pageCount + 1));
    for (std::size_t level = 1; level < 15; ++level) {
        bytes += innerPage(pageCount + level + 1);
    }
    bytes += leaf;
    put(bytes, 28, bytes.size() / pageByteCount, 4);
    writeBytes(index(), bytes);
    expectFinding(index(), "2nd reference to page");
    EXPECT_THROW(opened(), RecordingError);
}

TEST_F(CheckRecordingTest, valuesOfOtherTypesAreFindings) {
    run_sql(index(), "UPDATE chunk SET signal_group = x'' WHERE first_step > 0");
    expectFinding(index(),
                  "values of another type in the column signal_group of the table chunk: 1");
}

TEST_F(CheckRecordingTest, onlyTheFirstThousandFindingsAreKept) {
    std::string statements = "BEGIN;";
    for (int i = 0; i < 1200; ++i) {
        statements += "INSERT INTO run VALUES ('" + std::to_string(i) + "', '', 0);";
    }
    run_sql(index(), statements + "COMMIT");
    const RecordingCheck result = check();
    EXPECT_THAT(result.findings, SizeIs(1000));
    EXPECT_EQ(result.findingCount, 2400U);
}

TEST_F(CheckRecordingTest, longFindingsAreCutOff) {
    run_sql(index(), "INSERT INTO run VALUES ('" + std::string(100000, 'x') + "', '', 0)");
    EXPECT_THAT(findings(), Each(SizeIs(::testing::Le(1000U))));
}

TEST_F(CheckRecordingTest, needsNoWritePermissionAndChangesNothing) {
    const OrdinaryPermissions ordinary;
    const std::string before = bytesOf(index()) + bytesOf(samples());
    fs::permissions(index(), fs::perms::owner_read);
    fs::permissions(samples(), fs::perms::owner_read);
    fs::permissions(location, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_THAT(findings(), IsEmpty());
    fs::permissions(location, fs::perms::owner_all);
    EXPECT_EQ(bytesOf(index()) + bytesOf(samples()), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(location), fs::directory_iterator()), 2);
}

TEST_F(CheckRecordingTest, missingPermissionIsAnError) {
    const OrdinaryPermissions ordinary;
    for (const fs::path& file : {index(), samples(), location}) {
        const fs::perms former = fs::status(file).permissions();
        fs::permissions(file, fs::perms::none);
        EXPECT_THAT([this] { check(); },
                    ThrowsMessage<RecordingError>(HasSubstr("Permission denied")));
        fs::permissions(file, former);
    }
}

TEST_F(CheckRecordingTest, stateOfALiveRecordingHasNoFindings) {
    const auto writer = makeWriter();
    for (int round = 0; round < 20; ++round) {
        writeTimes(*writer, {1.0 + round, 2.0 + round, nan, 0.5});
        writer->flushIntermediate();
        if (round % 3 == 0) {
            writer->rollback(0, 1.5 + round);
        }
        EXPECT_THAT(check_recording(writer->location()).findings, IsEmpty());
    }
}

} // namespace
} // namespace logging2::core::test
