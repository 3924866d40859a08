#include <tests/backends/recording/rebuilt_recordings.hpp>

// rebuild_recording: what is kept, and what is reported as lost.

namespace logging2::core::test {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

TEST_F(RebuildRecordingTest, recordingWithoutItsIndexIsRebuiltBitForBit) {
    options.properties = {{"model", "ball"}};
    StreamingAttributes attributes;
    attributes.name = "ball";
    auto writer = makeWriter(twoGroups(), attributes);
    location = writer->location();
    for (int step = 0; step < 1000; ++step) {
        write(*writer, 0, step, {10.0 * step});
        write(*writer, 5, step, {nan, -0.0, infinity, 1.0 * step});
    }
    writer->flushIntermediate();
    writer->rollback(5, 400.0);
    write(*writer, 5, 400.5, {1.0, 2.0, 3.0, 4.0});
    writer->flush();
    const auto run = open(*writer);
    writer.reset();
    const auto result = rebuilt();
    EXPECT_TRUE(report.isComplete());
    EXPECT_EQ(report.stepCount, 1000U + 402U);
    expectSameSamples(*result, *run);
    expectSameStart(result->info(), run->info());
    EXPECT_EQ(result->info().revision, 1U);
    EXPECT_EQ(result->info().state, RunState::interrupted);
    EXPECT_EQ(result->info().end, std::nullopt);
}

TEST_F(RebuildRecordingTest, recordingWithoutSamplesIsRebuilt) {
    record([](auto&) {});
    EXPECT_THAT(timesOf(*rebuilt()), IsEmpty());
    EXPECT_TRUE(report.isComplete());
}

TEST_F(RebuildRecordingTest, damagedIndexDoesNotMatter) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    writeBytes(location / "index.sqlite", "nothing");
    EXPECT_THAT(timesOf(*rebuilt()), ElementsAre(1.0));
}

TEST_F(RebuildRecordingTest, damagedLeafLosesItsStepsOnly) {
    record([](auto& writer) { writeChunk(writer, 0, 1000); });
    // The second leaf of the times.
    flip(records().at(1).first + 128 + 64 + 300 * 8);
    Doubles expected = range(0, 256);
    const Doubles rest = range(512, 1000);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(timesOf(*rebuilt()), expected);
    expectLostSteps(report, {{0, 256, 256}});
    EXPECT_THAT(report.lostBytes, IsEmpty());
    EXPECT_FALSE(report.mayLackRollback);
    EXPECT_EQ(report.stepCount, 744U);
    EXPECT_FALSE(report.isComplete());
}

TEST_F(RebuildRecordingTest, smallChunksStandInForTheirDamagedReplacement) {
    options.chunkByteCount = 256 * 16;
    record([](auto& writer) {
        writeChunk(writer, 0, 100);
        writeChunk(writer, 100, 50);
        writeChunk(writer, 150, 200);
    });
    // The whole chunk of 256 steps is the third one.
    flip(records().at(3).first + 128 + 64 + 8);
    Doubles expected = range(0, 150);
    const Doubles rest = range(256, 350);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(timesOf(*rebuilt()), expected);
    expectLostSteps(report, {{0, 150, 106}});
}

TEST_F(RebuildRecordingTest, damagedHeaderLosesItsChunkButNotTheNext) {
    record([](auto& writer) {
        writeChunk(writer, 0, 10);
        writeChunk(writer, 10, 20);
        writeChunk(writer, 30, 10);
    });
    const auto all = records();
    damageHeaders(2);
    Doubles expected = range(0, 10);
    const Doubles rest = range(30, 40);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(timesOf(*rebuilt()), expected);
    expectLostSteps(report, {{0, 10, 20}});
    expectLostBytes(report, {{all[2].first, all[3].first - all[2].first}});
    EXPECT_FALSE(report.mayLackRollback) << "the next record tells that there was none";
}

TEST_F(RebuildRecordingTest, damageOfManyRecordsIsPassed) {
    record([](auto& writer) {
        for (int chunk = 0; chunk < 100; ++chunk) {
            writeChunk(writer, 10.0 * chunk, 10);
        }
    });
    const auto all = records();
    std::string bytes = bytesOf(samples());
    std::memset(&bytes[all[20].first + 10], 'x', all[90].first - all[20].first);
    writeBytes(samples(), bytes);
    Doubles expected = range(0, 190);
    const Doubles rest = range(900, 1000);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(timesOf(*rebuilt()), expected);
    expectLostSteps(report, {{0, 190, 710}});
}

TEST_F(RebuildRecordingTest, missingBytesOfAChunkDoNotHideTheNext) {
    record([](auto& writer) {
        writeChunk(writer, 0, 100);
        writeChunk(writer, 100, 100);
    });
    std::string bytes = bytesOf(samples());
    bytes.erase(records().at(1).first + 192, 320);
    writeBytes(samples(), bytes);
    EXPECT_EQ(timesOf(*rebuilt()), range(100, 200));
    expectLostSteps(report, {{0, 0, 100}});
    EXPECT_THAT(report.lostBytes, IsEmpty());
}

TEST_F(RebuildRecordingTest, recordBehindTheBlockThatIsSearchedIsFound) {
    options.chunkByteCount = std::size_t{4} << 20;
    record([](auto& writer) {
        writeChunk(writer, 0, 200000);
        writeChunk(writer, 200000, 10);
    });
    damageHeaders(1);
    EXPECT_EQ(timesOf(*rebuilt()), range(200000, 200010));
    expectLostSteps(report, {{0, 0, 200000}});
}

TEST_F(RebuildRecordingTest, incompleteLastRecordIsReported) {
    record([](auto& writer) {
        writeChunk(writer, 0, 10);
        writeChunk(writer, 10, 10);
    });
    fs::resize_file(samples(), fs::file_size(samples()) - 100);
    EXPECT_EQ(timesOf(*rebuilt()), range(0, 10));
    expectLostSteps(report, {{0, 10, 10}});
    EXPECT_THAT(report.lostBytes, IsEmpty());
    EXPECT_TRUE(report.mayLackRollback) << "nothing tells what followed";
}

TEST_F(RebuildRecordingTest, incompleteLastHeaderIsReported) {
    record([](auto& writer) {
        writeChunk(writer, 0, 10);
        writeChunk(writer, 10, 10);
    });
    const std::size_t last = records().at(2).first;
    fs::resize_file(samples(), last + 100);
    EXPECT_EQ(timesOf(*rebuilt()), range(0, 10));
    expectLostSteps(report, {});
    expectLostBytes(report, {{last, 100}});
    EXPECT_TRUE(report.mayLackRollback);
}

TEST_F(RebuildRecordingTest, damagedRollbackIsRepeatedByTheNextRecord) {
    setup = twoGroups();
    record([](auto& writer) {
        writeChunk(writer, 0, 100);
        writer.rollback(0, 49.0);
        write(writer, 5, 1.0, {1.0, 2.0, 3.0, 4.0});
    });
    ASSERT_EQ(records().at(2).second, detail::RecordKind::rollback);
    damageHeaders(2);
    const auto run = rebuilt();
    EXPECT_EQ(timesOf(*run), range(0, 50));
    EXPECT_THAT(timesOf(*run, "y"), ElementsAre(1.0));
    EXPECT_EQ(run->info().revision, 1U);
    expectLostSteps(report, {});
    EXPECT_THAT(report.lostBytes, SizeIs(1));
    EXPECT_FALSE(report.mayLackRollback);
}

TEST_F(RebuildRecordingTest, twoDamagedRollbacksAreReported) {
    record([](auto& writer) {
        writeChunk(writer, 0, 100);
        writer.rollback(0, 49.0);
        writer.rollback(0, 39.0);
        writeChunk(writer, 1000, 5);
    });
    damageHeaders(2, 2);
    EXPECT_THAT(timesOf(*rebuilt()), SizeIs(45));
    EXPECT_TRUE(report.mayLackRollback);
}

TEST_F(RebuildRecordingTest, damagedLastRollbackIsReported) {
    record([](auto& writer) {
        writeChunk(writer, 0, 100);
        writer.rollback(0, 49.0);
    });
    damageHeaders(2);
    EXPECT_EQ(timesOf(*rebuilt()), range(0, 100));
    EXPECT_TRUE(report.mayLackRollback);
}

TEST_F(RebuildRecordingTest, damagedDescriptionIsReplacedByThatOfTheIndex) {
    options.properties = {{"model", "ball"}};
    recordWithIndex();
    const std::string whole = bytesOf(samples());
    const auto expectSame = [&] {
        const auto result = rebuilt();
        EXPECT_THAT(timesOf(*result), ElementsAre(1.0));
        EXPECT_EQ(result->info().properties, options.properties);
        fs::remove_all(newName());
        writeBytes(samples(), whole);
    };
    for (const std::size_t byte : {0U, 40U, 75U, 85U, 120U, 128U, 140U}) {
        SCOPED_TRACE(byte);
        flip(byte);
        expectSame();
    }
    writeBytes(samples(), std::string(128, '?') + whole.substr(128));
    expectSame();
}

TEST_F(RebuildRecordingTest, unprovenDescriptionOfTheIndexIsNotUsed) {
    recordWithIndex();
    const std::string whole = bytesOf(samples());
    writeBytes(samples(), std::string(192, '?') + whole.substr(192));
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("it is not a recording's data file")));
    EXPECT_THAT(made.names(), IsEmpty());
}

TEST_F(RebuildRecordingTest, damagedDescriptionWithoutAnIndexIsAnError) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    const std::string whole = bytesOf(samples());
    const auto expectError = [&](const char* reason) {
        EXPECT_THAT([this] { rebuild(); }, ThrowsMessage<RecordingError>(HasSubstr(reason)));
        EXPECT_THAT(made.names(), IsEmpty());
        writeBytes(samples(), whole);
    };
    flip(140);
    expectError("the description of the run has another hash");
    flip(40);
    expectError("a record's header is damaged");
    writeBytes(samples(), "");
    expectError("it ends too early: bytes are missing");
    writeBytes(samples(), whole.substr(0, 150));
    expectError("it ends too early: bytes are missing");
    writeBytes(samples(), whole.substr(records().at(1).first));
    expectError("it does not begin with the description of the run");
    fs::remove(samples());
    expectError("cannot open it: No such file or directory");
}

TEST_F(RebuildRecordingTest, headersThatCannotBeAreNoRecords) {
    record([](auto& writer) { writeChunk(writer, 0, 10); });
    const std::string whole = bytesOf(samples());
    const auto expectNone = [&](const std::function<void(detail::RecordHeader&)>& change) {
        changeHeader(records().at(1).first, change);
        EXPECT_THAT(timesOf(*rebuilt()), IsEmpty());
        EXPECT_THAT(report.lostBytes, SizeIs(1));
        fs::remove_all(newName());
        writeBytes(samples(), whole);
    };
    expectNone([](auto& header) { header.run = {}; });
    expectNone([](auto& header) { header.group = 1; });
    expectNone([](auto& header) { header.kind = detail::RecordKind::rollback; });
    expectNone([](auto& header) { header.kind = detail::RecordKind::description; });
    expectNone([](auto& header) { header.stepCount = 0; });
    expectNone([](auto& header) { header.stepCount = 11000; });
    expectNone([](auto& header) { header.stepCount = std::uint64_t{1} << 60; });
    expectNone([](auto& header) { header.firstStep = ~std::uint64_t{0}; });
}

TEST_F(RebuildRecordingTest, descriptionOfAnotherRunIsAnError) {
    record([](auto& writer) { writeTimes(writer, {1.0}); });
    changeHeader(0, [](auto& header) { header.run[3] ^= 1; });
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("the description is that of another run")));
}

TEST_F(RebuildRecordingTest, everyDamagedByteLosesNoMoreThanIsReported) {
    record([](auto& writer) {
        writeChunk(writer, 0, 3);
        writer.rollback(0, 1.0);
        writeChunk(writer, 5, 2);
    });
    const std::string whole = bytesOf(samples());
    const auto all = records();
    for (std::size_t i = all[1].first; i < whole.size() && !HasFailure(); i += 3) {
        SCOPED_TRACE("byte " + std::to_string(i));
        flip(i, 1 << i % 8);
        const Doubles times = timesOf(*rebuilt());
        EXPECT_TRUE(report.isComplete()
                        ? times == Doubles({0.0, 1.0, 5.0, 6.0})
                        : times != Doubles({0.0, 1.0, 5.0, 6.0}) || !report.lostBytes.empty());
        EXPECT_THAT(times, AnyOf(ElementsAre(0.0, 1.0, 5.0, 6.0), ElementsAre(0.0, 1.0),
                                 ElementsAre(5.0, 6.0)));
        fs::remove_all(newName());
        writeBytes(samples(), whole);
    }
}

} // namespace
} // namespace logging2::core::test
