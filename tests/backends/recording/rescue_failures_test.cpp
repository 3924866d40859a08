#include <tests/backends/recording/recordings.hpp>
#include <tests/backends/recording/same_runs.hpp>

#include <tests/support/FailingCalls.hpp>
#include <tests/support/files.hpp>

#include <cerrno>
#include <filesystem>
#include <functional>

// System calls fail while recordings are copied, rebuilt and checked.

namespace logging2::core::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class RescueFailuresTest : public RecordingTest {
protected:
    RescueFailuresTest() {
        auto writer = makeWriter();
        for (int step = 0; step < 600; ++step) {
            write(*writer, 0, step, {0.5 * step});
        }
        writer->flushIntermediate();
        writeTimes(*writer, {600.0});
        writer->flush();
        location = writer->location();
    }

    std::string newName() const { return (made.path() / "new.recording").string(); }

    void copy() const { copy_recording(location, newName(), copyOptions); }

    RecordingRebuild rebuild() const { return rebuild_recording(location, newName(), copyOptions); }

    std::string location;
    RecordingOptions copyOptions;
    TemporaryDirectory made;
};

TEST_F(RescueFailuresTest, anyWriteMayFailAndThenNothingIsLeft) {
    for (const char* file : {"/samples.bin", "/index.sqlite-wal", "/index.sqlite"}) {
        std::size_t failureCount = 0;
        for (bool hasFailed = true; hasFailed; failureCount += hasFailed ? 1 : 0) {
            std::vector<Outcome> outcomes(failureCount, works());
            outcomes.push_back(fails(ENOSPC));
            const FailingCalls calls(Call::write, file, outcomes);
            try {
                failureCount % 2 == 0 ? copy() : static_cast<void>(rebuild());
            } catch (const RecordingError& error) {
                EXPECT_THAT(error.what(), ::testing::AnyOf(HasSubstr("No space left on device"),
                                                           HasSubstr("disk is full")));
                EXPECT_THAT(made.names(), IsEmpty());
            }
            hasFailed = calls.count() > failureCount;
            fs::remove_all(newName());
        }
        EXPECT_GT(failureCount, 1U) << file;
    }
}

TEST_F(RescueFailuresTest, newRecordingIsEnded) {
    for (const bool rebuilds : {false, true}) {
        const FailingCalls calls(Call::truncate, "samples.bin", {});
        rebuilds ? static_cast<void>(rebuild()) : copy();
        // The reserved room is given back.
        EXPECT_EQ(calls.count(), 1U);
        // The file says that it needs no log.
        constexpr std::size_t formatOffset = 18;
        EXPECT_EQ(bytesOf(newName() + "/index.sqlite").substr(formatOffset, 2), "\1\1");
        fs::remove_all(newName());
    }
}

TEST_F(RescueFailuresTest, everyStepOfMakingTheDirectoryMayFail) {
    struct Failure {
        Call call;
        const char* nameEnd;
        int error;
        const char* reason;
    };
    for (const auto& [call, nameEnd, error, reason] :
         {Failure{Call::changeMode, "", EPERM, "cannot set its permissions"},
          Failure{Call::open, "samples.bin", EMFILE, "Too many open files"},
          Failure{Call::synchronize, "samples.bin", EIO, "Input/output error"}}) {
        copyOptions.durability = Durability::power;
        const FailingCalls calls(call, nameEnd, {fails(error)});
        EXPECT_THAT([this] { copy(); }, ThrowsMessage<RecordingError>(HasSubstr(reason)));
        EXPECT_THAT(made.names(), IsEmpty());
    }
}

TEST_F(RescueFailuresTest, placeThatIsTakenMeanwhileIsLeftAlone) {
    const std::string taken = newName() + "/mine";
    const auto take = [&](std::uint64_t, std::uint64_t) { fs::create_directories(taken); };
    EXPECT_THAT([&] { copy_recording(location, newName(), {}, take); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot give the directory its name")));
    EXPECT_TRUE(fs::exists(taken));
    EXPECT_THAT(made.names(), ElementsAre("new.recording"));
}

TEST_F(RescueFailuresTest, powerDurabilityBringsFilesAndDirectoriesToTheDisk) {
    copyOptions.durability = Durability::power;
    const FailingCalls parents(Call::synchronize, made.path().filename().string(), {});
    const FailingCalls samples(Call::synchronize, "samples.bin", {});
    copy();
    EXPECT_EQ(parents.count(), 1U);
    EXPECT_GE(samples.count(), 1U);
    expectSameSamples(*open_recording(newName()), *open_recording(location));
}

TEST_F(RescueFailuresTest, failureToSynchronizeTheParentLeavesNothing) {
    copyOptions.durability = Durability::power;
    const FailingCalls parents(Call::synchronize, made.path().filename().string(), {fails(EIO)});
    EXPECT_THAT([this] { copy(); },
                ThrowsMessage<RecordingError>(HasSubstr("bring it to the disk")));
    EXPECT_THAT(made.names(), IsEmpty());
}

TEST_F(RescueFailuresTest, processDurabilitySynchronizesNothing) {
    const FailingCalls calls(Call::synchronize, "", {});
    copy();
    EXPECT_EQ(calls.count(), 0U);
}

TEST_F(RescueFailuresTest, anyReadMayFailAndTheLossIsReported) {
    std::size_t refusedCount = 0;
    std::size_t incompleteCount = 0;
    bool hasFailed = true;
    for (std::size_t number = 0; hasFailed && !HasFailure(); ++number) {
        SCOPED_TRACE("read " + std::to_string(number));
        std::vector<Outcome> outcomes(number, works());
        outcomes.push_back(fails(EIO));
        const FailingCalls calls(Call::read, "samples.bin", outcomes);
        try {
            const RecordingRebuild report = rebuild();
            incompleteCount += report.isComplete() ? 0 : 1;
            const std::size_t size = open_recording(newName())->groups().at(0).stepCount;
            EXPECT_EQ(size, report.stepCount);
            EXPECT_TRUE(!report.isComplete() || size == 601U);
        } catch (const RecordingError&) {
            ++refusedCount;
        }
        hasFailed = calls.count() > number;
        fs::remove_all(newName());
        EXPECT_THAT(made.names(), IsEmpty());
    }
    EXPECT_GT(refusedCount, 2U);
    EXPECT_GT(incompleteCount, 2U);
}

TEST_F(RescueFailuresTest, unreadablePartOfTheDiskHidesOnlyWhatItHolds) {
    // The header of the first chunk, and then all of the block in which the next one is searched.
    const FailingCalls calls(Call::read, "samples.bin",
                             {works(), works(), fails(EIO), fails(EIO), fails(EIO)});
    const RecordingRebuild report = rebuild();
    EXPECT_THAT(timesOf(*open_recording(newName())), ElementsAre(600.0));
    ASSERT_EQ(report.lostSteps.size(), 1U);
    EXPECT_EQ(report.lostSteps[0].stepCount, 600U);
}

TEST_F(RescueFailuresTest, damageOfTheNewRecordingIsNoSuccess) {
    std::size_t readCount = 0;
    {
        const FailingCalls calls(Call::read, "samples.bin", {});
        rebuild();
        readCount = calls.count();
        fs::remove_all(newName());
    }
    std::vector<Outcome> outcomes(readCount - 1, works());
    outcomes.push_back(fails(EIO));
    const FailingCalls calls(Call::read, "samples.bin", outcomes);
    EXPECT_THAT([this] { rebuild(); },
                ThrowsMessage<RecordingError>(HasSubstr("what was written is damaged: ")));
    EXPECT_THAT(made.names(), IsEmpty());
}

TEST_F(RescueFailuresTest, failingReadOfACheckIsAFinding) {
    bool hasFailed = true;
    for (std::size_t number = 0; hasFailed && !HasFailure(); ++number) {
        std::vector<Outcome> outcomes(number, works());
        outcomes.push_back(fails(EIO));
        const FailingCalls calls(Call::read, "samples.bin", outcomes);
        const RecordingCheck check = check_recording(location);
        hasFailed = calls.count() > number;
        EXPECT_EQ(check.findingCount > 0, hasFailed) << "read " << number;
        EXPECT_TRUE(!hasFailed ||
                    check.findings[0].find("Input/output error") != std::string::npos);
    }
}

TEST_F(RescueFailuresTest, remainsOfAFailedCommitAreLeftOut) {
    auto writer = makeWriter();
    location = writer->location();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    {
        // The data file gets two chunks, but the index does not.
        const FailingCalls calls(Call::write, "/index.sqlite-wal", {fails(ENOSPC)});
        writeTimes(*writer, {3.0, 4.0});
        EXPECT_THROW(writer->flushIntermediate(), RecordingError);
    }
    // The next commit has a rollback only, which covers the header of the former chunk.
    writer->rollback(0, 1.0);
    writer->flush();
    writer.reset();
    const RecordingRebuild report = rebuild();
    EXPECT_THAT(timesOf(*open_recording(newName())), ElementsAre(1.0));
    EXPECT_EQ(report.stepCount, 1U);
}

TEST_F(RescueFailuresTest, wholeRecordsOfAFailedCommitAreLeftOut) {
    auto writer = makeWriter(twoGroups());
    location = writer->location();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    {
        const FailingCalls calls(Call::write, "/index.sqlite-wal", {fails(ENOSPC)});
        writeTimes(*writer, {3.0});
        write(*writer, 5, 1.0, {1.0, 2.0, 3.0, 4.0});
        EXPECT_THROW(writer->flushIntermediate(), RecordingError);
    }
    // The next commit is as long as the first record of the failed one, and the second one stays.
    writer->rollback(5, 0.0);
    writer->flushIntermediate();
    writer.reset();
    const RecordingRebuild report = rebuild();
    const auto run = open_recording(newName());
    EXPECT_THAT(timesOf(*run, "x"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(timesOf(*run, "y"), IsEmpty());
    EXPECT_TRUE(report.isComplete());
}

TEST_F(RescueFailuresTest, leavesOfAPackedSegmentAreReadTogether) {
    options.compression = Compression::lz4;
    auto writer = makeWriter();
    constexpr int leafCount = 32;
    for (int step = 0; step < 256 * leafCount; ++step) {
        write(*writer, 0, step, {0.5 * step});
    }
    writer->flush();
    location = writer->location();
    writer.reset();
    // Times and values would be read leaf by leaf, by rebuild_recording twice.
    const auto expectFewReads = [](int limit, const std::function<void()>& read) {
        const FailingCalls calls(Call::read, "/samples.bin", {});
        read();
        EXPECT_LT(calls.count(), limit);
    };
    expectFewReads(2 * leafCount, [this] { check_recording(location); });
    expectFewReads(2 * leafCount, [this] { copy(); });
    expectFewReads(4 * leafCount, [this] { rebuild_recording(location, newName() + "2"); });
}

} // namespace
} // namespace logging2::core::test
