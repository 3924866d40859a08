#include <tests/allocation/subjects.hpp>
#include <tests/backends/columnar/columnar_writers.hpp>

#include <optional>

// Each allocation of each operation fails once. The exception comes out, and nothing has changed.

namespace logging2::core::test {
namespace {

struct Subject {
    explicit Subject(int stepCount = 0, bool regresses = false)
        : writer(std::make_unique<ColumnarStreamWriter>(fullAttributes(regresses), twoGroups())) {
        for (int step = 0; step < stepCount; ++step) {
            const auto row = rowAt(0, step);
            write(*writer, 0, step, row);
        }
    }

    Doubles flushedTimes() const {
        writer->flush();
        return stored(*writer, widePath).first;
    }

    std::unique_ptr<ColumnarStreamWriter> writer;
    std::unique_ptr<StreamReader> reader;
    std::unique_ptr<core::Run> run;
};

constexpr int longStepCount = 200; // several pieces

Subject written() {
    return Subject(longStepCount);
}

Subject flushed() {
    Subject subject = written();
    subject.writer->flush();
    subject.reader =
        std::make_unique<ColumnarStreamReader>(subject.writer->dataStore(ValuePath(widePath)));
    return subject;
}

void expectAllSteps(Subject& subject, Attempt) {
    EXPECT_EQ(subject.flushedTimes(), countedTimes(longStepCount));
}

TEST(ColumnarSweepTest, failedConstructorLeavesNothing) {
    struct Inputs {
        StreamingAttributes attributes = fullAttributes();
        GroupSetup setup = twoGroups();
        std::optional<ColumnarStreamWriter> writer;
    };
    expect_every_failure_propagates(
        "ColumnarStreamWriter: constructor", "no writer", [] { return Inputs(); },
        [](Inputs& inputs) { inputs.writer.emplace(inputs.attributes, inputs.setup); },
        [](Inputs& inputs, Attempt attempt) {
            EXPECT_NE(inputs.writer.has_value(), attempt.threw);
        });
}

TEST(ColumnarSweepTest, failedWriteStoresNothing) {
    for (const int stepCount : {0, 40, longStepCount}) {
        expect_every_failure_propagates(
            "ColumnarStreamWriter: write, " + std::to_string(stepCount) + " samples held",
            "the steps before it stay, and writing goes on", [=] { return Subject(stepCount); },
            [=](Subject& subject) {
                for (int step = stepCount; step < 2 * stepCount + 1; ++step) {
                    const auto row = rowAt(0, step);
                    subject.writer->write(0, step, row.data(), row.size());
                }
            },
            [](Subject& subject, Attempt) {
                const auto row = rowAt(0, 1e6);
                write(*subject.writer, 0, 1e6, row);
                Doubles times = subject.flushedTimes();
                EXPECT_EQ(times.back(), 1e6);
                times.pop_back();
                EXPECT_EQ(times, countedTimes(times.size()));
            });
    }
}

/// A writer that discards the oldest steps, and two snapshots that keep them all.
struct LimitedSubject {
    LimitedSubject() { writeUntil(1000); }

    void writeUntil(int end) {
        for (; nextStep < end; ++nextStep) {
            const auto row = rowAt(0, nextStep);
            writer->write(0, nextStep, row.data(), row.size());
        }
    }

    std::unique_ptr<ColumnarStreamWriter> writer = std::make_unique<ColumnarStreamWriter>(
        fullAttributes(), twoGroups(),
        ColumnarOptions{std::size_t{16} * 1024, BeyondLimit::discardOldest});
    std::unique_ptr<core::Run> first = writer->snapshot(0.0, 1e9);
    std::unique_ptr<core::Run> second = writer->snapshot(0.0, 1e9);
    int nextStep = 0;
};

TEST(ColumnarSweepTest, failedWriteBeyondTheLimitKeepsSnapshotsIntact) {
    expect_every_failure_propagates(
        "ColumnarStreamWriter: write, beyond the limit", "snapshots have each step once",
        [] { return LimitedSubject(); }, [](LimitedSubject& subject) { subject.writeUntil(1060); },
        [](LimitedSubject& subject, Attempt) {
            subject.writeUntil(1200);
            for (core::Run* const snapshot : {subject.first.get(), subject.second.get()}) {
                snapshot->refresh();
                EXPECT_EQ(timesOf(*snapshot, widePath), countedTimes(1200));
            }
        });
}

TEST(ColumnarSweepTest, failedRegressionDiscardsNothing) {
    expect_every_failure_propagates(
        "ColumnarStreamWriter: write, back to a shown time", "nothing is discarded",
        [] {
            Subject subject(longStepCount, true);
            subject.run = subject.writer->run();
            return subject;
        },
        [](Subject& subject) {
            const auto row = rowAt(0, 50.5);
            subject.writer->write(0, 50.5, row.data(), row.size());
        },
        [](Subject& subject, Attempt attempt) {
            Doubles expected = countedTimes(attempt.threw ? longStepCount : 51);
            if (!attempt.threw) {
                expected.push_back(50.5);
            }
            EXPECT_EQ(subject.flushedTimes(), expected);
        });
}

TEST(ColumnarSweepTest, failedRollbackOfShownStepsDiscardsNothing) {
    expect_every_failure_propagates(
        "ColumnarStreamWriter: rollback of shown steps", "nothing is discarded",
        [] {
            Subject subject = written();
            subject.run = subject.writer->run();
            // So often that there is no room for a further span.
            for (double time = longStepCount - 1.5; time > 190.0; time -= 1.0) {
                subject.writer->rollback(0, time);
                subject.run->refresh();
            }
            return subject;
        },
        [](Subject& subject) { subject.writer->rollback(0, 185.5); },
        [](Subject& subject, Attempt attempt) {
            EXPECT_EQ(subject.flushedTimes(), countedTimes(attempt.threw ? 191 : 186));
        });
}

TEST(ColumnarSweepTest, rollbackOfUnseenStepsAllocatesNothing) {
    expect_no_allocation("ColumnarStreamWriter: rollback", written,
                         [](Subject& subject) { subject.writer->rollback(0, 3.5); });
}

TEST(ColumnarSweepTest, failedFlushChangesNothing) {
    expect_every_failure_propagates(
        "ColumnarStreamWriter: flush", "a second flush stores everything", written,
        [](Subject& subject) { subject.writer->flush(); }, expectAllSteps);
    expect_no_allocation("ColumnarStreamWriter: flushIntermediate", written,
                         [](Subject& subject) { subject.writer->flushIntermediate(); });
}

TEST(ColumnarSweepTest, failedReadCanBeRepeated) {
    const auto expectReadable = [](Subject& subject, Attempt) {
        EXPECT_EQ(subject.reader->timeseries().first, countedTimes(longStepCount));
    };
    expect_every_failure_propagates(
        "ColumnarStreamReader: timeseries", "the reader still reads", flushed,
        [](Subject& subject) { subject.reader->timeseries(); }, expectReadable);
    expect_every_failure_propagates(
        "ColumnarStreamReader: clone", "the reader still reads", flushed,
        [](Subject& subject) { subject.reader->clone(); }, expectReadable);
    expect_every_failure_propagates(
        "ColumnarStreamWriter: dataStore", "the reader still reads", flushed,
        [](Subject& subject) {
            EXPECT_FALSE(subject.writer->dataStore(ValuePath(widePath)).empty());
        },
        expectReadable);
    expect_every_failure_propagates(
        "ColumnarStreamWriter: dataStore while writing", "the samples stay",
        [] {
            Subject subject = written();
            subject.writer->flushIntermediate();
            return subject;
        },
        [](Subject& subject) {
            EXPECT_FALSE(subject.writer->dataStore(ValuePath(widePath)).empty());
        },
        expectAllSteps);
}

TEST(ColumnarSweepTest, largeSeriesIsReadIfOnlyItsVectorsFit) {
    const SweepCounts counts = for_every_failing_allocation(
        [] {
            Subject subject(20000);
            subject.writer->flush();
            subject.reader = std::make_unique<ColumnarStreamReader>(
                subject.writer->dataStore(ValuePath(widePath)));
            return subject;
        },
        [](Subject& subject) { EXPECT_EQ(subject.reader->timeseries().first.size(), 20000U); },
        [](Subject&, Attempt) {});
    EXPECT_EQ(counts.thrown, 2U); // the times and the values
    EXPECT_EQ(counts.absorbed(), 2U);
    print_sweep("ColumnarStreamReader: timeseries, large", counts, "read without the empty block");
}

TEST(ColumnarSweepTest, failedRunLeavesTheWriter) {
    expect_every_failure_propagates(
        "ColumnarStreamWriter: snapshot", "the samples stay", written,
        [](Subject& subject) { subject.run = subject.writer->snapshot(3.0, 150.0); },
        expectAllSteps);
    expect_every_failure_propagates(
        "ColumnarRun: series and summary", "the samples stay",
        [] {
            Subject subject = written();
            subject.run = subject.writer->run();
            return subject;
        },
        [](Subject& subject) {
            const ValuePath path(widePath);
            subject.run->refresh();
            subject.run->series(path);
            subject.run->series(path, 1.0, 2.0);
            subject.run->pieces(path);
            subject.run->summary(path);
            subject.run->overview(path, 0.0, 1.0, 3);
            subject.run->groups();
            subject.run->signals();
        },
        expectAllSteps);
}

TEST(ColumnarSweepTest, runKeepsItsStateIfItsWriterEndsWithoutMemory) {
    const SweepCounts counts = for_every_failing_allocation(
        [] {
            Subject subject = written();
            subject.run = subject.writer->run();
            write(*subject.writer, 0, longStepCount, rowAt(0, longStepCount));
            return subject;
        },
        [](Subject& subject) { subject.writer.reset(); },
        [](Subject& subject, Attempt attempt) {
            EXPECT_FALSE(attempt.threw);
            subject.run->refresh();
            EXPECT_EQ(timesOf(*subject.run, widePath),
                      countedTimes(longStepCount + (attempt.failed ? 0 : 1)));
        });
    EXPECT_GT(counts.failed, 0U);
    EXPECT_EQ(counts.thrown, 0U);
    print_sweep("ColumnarStreamWriter: destructor", counts, "runs keep their last state");
}

} // namespace
} // namespace logging2::core::test
