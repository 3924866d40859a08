#include <tests/backends/recording/fixed_run.hpp>
#include <tests/backends/recording/recordings.hpp>

#include <tests/support/FailingCalls.hpp>

#include <cerrno>
#include <functional>
#include <stdexcept>

// Writes to the files of a recording fail: nothing is lost once there is space again.

namespace logging2::core::test {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Calls that fail until the end of a test's patience.
std::vector<Outcome> many_failures(int error) {
    return std::vector<Outcome>(100000, fails(error));
}

class FullIndexTest : public RecordingTest {
protected:
    /// Repeats the call until it works. Returns how many times it has failed.
    std::size_t insist(const std::function<void()>& call) const {
        for (std::size_t failureCount = 0;; ++failureCount) {
            try {
                call();
                return failureCount;
            } catch (const RecordingError& error) {
                expectWholeMessage(error);
            }
        }
    }

    void expectWholeMessage(const RecordingError& error) const {
        EXPECT_EQ(error.location(), writer->location());
        EXPECT_THAT(error.what(), StartsWith(writer->location() + ": "));
        EXPECT_THAT(error.what(),
                    AnyOf(HasSubstr("No space left on device"), HasSubstr("disk is full")));
    }

    /// Everything that a run does.
    void live() {
        const auto untilItWorks = [this](const auto& call) { insist(call); };
        live_fixed_run(*writer, untilItWorks, untilItWorks);
    }

    void makeRun() {
        use_small_buffers(options);
        writer = makeWriter(twoGroups());
    }

    void writeUntilItFails() {
        for (double time = 10.0;; time += 1.0) {
            writer->write(0, time, &time, 1);
        }
    }

    /// The call throws, and the step of the group 0 is the first that is not stored.
    static void expectUnstored(std::size_t step, const std::function<void()>& call) {
        try {
            call();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const RecordingError& error) {
            ASSERT_TRUE(error.firstUnstored());
            EXPECT_EQ(error.firstUnstored()->group, 0U);
            EXPECT_EQ(error.firstUnstored()->step, step);
            EXPECT_THAT(error.what(), HasSubstr("; step " + std::to_string(step) +
                                                " of group 0 is the first that is not stored"));
        }
    }

    std::unique_ptr<RecordingStreamWriter> writer;
};

/// The parameter is the file to which nothing can be written.
class FullDiskTest : public FullIndexTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(FullDiskTest, anyWriteMayFailAndNothingIsLost) {
    std::size_t failedCount = 0;
    for (bool hasFailed = true; hasFailed && !HasFailure(); ++failedCount) {
        SCOPED_TRACE("write " + std::to_string(failedCount));
        makeRun();
        std::vector<Outcome> outcomes(failedCount, works());
        outcomes.push_back(fails(ENOSPC));
        const FailingCalls calls(Call::write, GetParam(), outcomes);
        live();
        expect_fixed_run(*open(*writer));
        EXPECT_EQ(open(*writer)->info().state, RunState::finished);
        hasFailed = calls.count() > failedCount;
    }
    EXPECT_GT(failedCount, 8U);
}

TEST_P(FullDiskTest, manyFailuresInARowLoseNothing) {
    for (const std::size_t count : {2U, 3U, 5U, 20U}) {
        makeRun();
        std::vector<Outcome> outcomes(3, works());
        outcomes.resize(3 + count, fails(ENOSPC));
        const FailingCalls calls(Call::write, GetParam(), outcomes);
        live();
        expect_fixed_run(*open(*writer));
    }
}

TEST_P(FullDiskTest, fullBuffersMakeWriteThrowInsteadOfWaiting) {
    makeRun();
    auto calls = std::make_unique<FailingCalls>(Call::write, GetParam(), many_failures(ENOSPC));
    std::size_t failureCount = 0;
    Doubles times;
    for (int step = 0; failureCount < 50; ++step) {
        const double time = step;
        try {
            writer->write(0, time, &time, 1);
            times.push_back(time);
        } catch (const RecordingError&) {
            ++failureCount;
        }
    }
    calls.reset();
    insist([this] { writer->flush(); });
    EXPECT_EQ(timesOf(*open(*writer)), times);
}

TEST_P(FullDiskTest, errorNamesTheFirstSampleThatIsNotStored) {
    makeRun();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    const FailingCalls calls(Call::write, GetParam(), many_failures(ENOSPC));
    expectUnstored(2, [this] {
        writeTimes(*writer, {3.0});
        writer->flushIntermediate();
    });
    expectUnstored(2, [this] { writeUntilItFails(); });
    expectUnstored(2, [this] { writer->flush(); });
}

TEST_P(FullDiskTest, errorOfARollbackAloneNamesNoSample) {
    makeRun();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    const FailingCalls calls(Call::write, GetParam(), many_failures(ENOSPC));
    try {
        writer->rollback(0, 1.0);
        FAIL() << "nothing was thrown";
    } catch (const RecordingError& error) {
        EXPECT_FALSE(error.firstUnstored());
    }
    expectUnstored(1, [this] { writeUntilItFails(); });
}

TEST_P(FullDiskTest, whatWasCommittedStaysReadable) {
    makeRun();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    const FailingCalls calls(Call::write, GetParam(), many_failures(ENOSPC));
    writeTimes(*writer, {3.0});
    EXPECT_THROW(writer->flushIntermediate(), RecordingError);
    EXPECT_THROW(writer->flush(), RecordingError);
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 2.0));
    EXPECT_EQ(open(*writer)->info().state, RunState::running);
}

TEST_P(FullDiskTest, destructionNeverThrowsAndLeavesAnInterruptedRun) {
    makeRun();
    const std::string location = writer->location();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    const FailingCalls calls(Call::write, GetParam(), many_failures(ENOSPC));
    writeTimes(*writer, {3.0});
    writer.reset();
    const auto run = open_recording(location);
    EXPECT_EQ(run->info().state, RunState::interrupted);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
}

TEST_F(FullIndexTest, rollbackAfterAFailedFlushIsStored) {
    for (const double time : {0.0, 1.0}) {
        makeRun();
        writeTimes(*writer, {1.0, 2.0, 3.0});
        {
            // What the log holds is brought to the index at the end.
            const FailingCalls calls(Call::write, "/index.sqlite", many_failures(ENOSPC));
            EXPECT_THROW(writer->flush(), RecordingError);
        }
        writer->rollback(0, time);
        EXPECT_EQ(open(*writer)->info().state, RunState::running);
        writer->flush();
        EXPECT_EQ(timesOf(*open(*writer)).size(), time == 0.0 ? 0U : 1U);
    }
}

TEST_P(FullDiskTest, revisionGrowsEvenIfTheRollbackFailedAtFirst) {
    makeRun();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    {
        const FailingCalls calls(Call::write, GetParam(), {fails(ENOSPC)});
        EXPECT_THROW(writer->rollback(0, 1.0), RecordingError);
    }
    // The block becomes full before anything else is stored.
    writeTimes(*writer, {3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    EXPECT_EQ(run->info().revision, 1U);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0));
}

TEST_P(FullDiskTest, repeatedRollbackIsStoredWhenItReturns) {
    makeRun();
    writeTimes(*writer, {1.0, 2.0, 3.0, 4.0, 5.0});
    writer->flushIntermediate();
    for (const double time : {4.0, 1.0}) {
        {
            const FailingCalls calls(Call::write, GetParam(), {fails(ENOSPC)});
            EXPECT_THROW(writer->rollback(0, time), RecordingError);
        }
        writer->rollback(0, time);
        EXPECT_EQ(timesOf(*open(*writer)).back(), time);
    }
    EXPECT_EQ(open(*writer)->info().revision, 2U);
}

TEST_P(FullDiskTest, repeatedWriteAfterARegressionStoresTheRollback) {
    makeRun();
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    writer = makeWriter(twoGroups(), attributes);
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    {
        const FailingCalls calls(Call::write, GetParam(), {fails(ENOSPC)});
        EXPECT_THROW(writeTimes(*writer, {1.5}), RecordingError);
    }
    writeTimes(*writer, {1.5});
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

INSTANTIATE_TEST_SUITE_P(File, FullDiskTest, ::testing::Values("/samples.bin", "/index.sqlite-wal"),
                         [](const auto& instance) {
                             return instance.index == 0 ? "samples" : "index";
                         });

} // namespace
} // namespace logging2::core::test
