#include <tests/allocation/native_subjects.hpp>

#include <stdexcept>

// The file-backed writer while every allocation of the caller's thread fails once: construction,
// writing and queries. The flushes are in native_flush_test.cpp.

namespace logging2::core::test {
namespace {

using NativeWriterSweepTest = NativeSweepTest;

/// A writer that is made before any failure, so its files are in the host's directory.
NativeSubject written(const std::vector<double>& times, std::size_t bufferSize = 1000) {
    NativeSubject subject;
    Access::setBufferSize(*subject.writer, 0, bufferSize);
    subject.write(0, times);
    return subject;
}

void write_one(NativeSubject& subject, double time) {
    const double row[] = {time, time + 0.25, time + 0.5};
    subject.writer->write(0, time, row, 3);
}

TEST_F(NativeWriterSweepTest, failedConstructorLeavesItsArguments) {
    struct Inputs {
        StreamingAttributes attributes = fullAttributes();
        GroupSetup setup = twoGroups();
        NativeSubject result{nullptr};
    };
    const auto construct = [](Inputs& inputs) {
        inputs.result.writer =
            std::make_unique<NativeStreamWriter>(inputs.attributes, inputs.setup);
    };
    const SweepCounts counts =
        for_every_failing_allocation([] { return Inputs(); }, construct,
                                     [&](Inputs& inputs, Attempt attempt) {
                                         EXPECT_NE(inputs.result.writer != nullptr, attempt.threw);
                                         if (attempt.threw) {
                                             construct(inputs);
                                         }
                                         inputs.result.write(1, {1.0});
                                         inputs.result.writer->flush();
                                         inputs.result.expectInFiles(1, {1.0});
                                     });
    EXPECT_GT(counts.thrown, 50U);
    EXPECT_LT(counts.absorbed(), 10U);
    print_sweep("NativeStreamWriter: constructor, two groups", counts,
                "no writer; absorbed: the host's directory name, the fallback is taken");
}

TEST_F(NativeWriterSweepTest, movesAllocateNothing) {
    expect_no_allocation(
        "NativeStreamWriter: move constructor", [] { return written({1.0}); },
        [](NativeSubject& subject) { NativeStreamWriter moved(std::move(*subject.writer)); });
    struct Pair {
        NativeSubject from;
        NativeSubject to;
    };
    expect_no_allocation(
        "NativeStreamWriter: move assignment",
        [] {
            return Pair{written({1.0}), written({1.0, 2.0})};
        },
        [](Pair& pair) { *pair.to.writer = std::move(*pair.from.writer); });
}

TEST_F(NativeWriterSweepTest, failedFirstWriteStoresNothing) {
    expect_every_failure_propagates(
        "NativeStreamWriter: write, first of the group", "the sample is not stored",
        [] { return NativeSubject(); }, [](NativeSubject& subject) { write_one(subject, 1.0); },
        [](NativeSubject& subject, Attempt attempt) {
            EXPECT_EQ(Access::rowCount(*subject.writer, 0), attempt.threw ? 0U : 1U);
            subject.write(0, attempt.threw ? std::vector{1.0, 2.0} : std::vector{2.0});
            subject.writer->flush();
            subject.expectInFiles(0, {1.0, 2.0});
        });
}

TEST_F(NativeWriterSweepTest, failedGrowthStoresNothing) {
    struct Run {
        NativeSubject subject;
        std::vector<double> times;
    };
    expect_every_failure_propagates(
        "NativeStreamWriter: write, 500 samples", "only that sample is not stored",
        [] {
            Run run;
            run.times.reserve(500);
            return run;
        },
        [](Run& run) {
            while (run.times.size() < 500) {
                const double time = static_cast<double>(run.times.size());
                write_one(run.subject, time);
                run.times.push_back(time);
            }
        },
        [](Run& run, Attempt) {
            EXPECT_EQ(Access::rowCount(*run.subject.writer, 0), run.times.size());
            while (run.times.size() < 500) {
                run.subject.write(0, {static_cast<double>(run.times.size())});
                run.times.push_back(static_cast<double>(run.times.size()));
            }
            run.subject.writer->flush();
            run.subject.expectInFiles(0, run.times);
        });
}

// This includes failures to start the thread. A caller that writes the sample again stores it once.
TEST_F(NativeWriterSweepTest, failedHandOverStoresNothing) {
    const auto expectThree = [](NativeSubject& subject, Attempt attempt) {
        if (attempt.threw) {
            EXPECT_EQ(Access::rowCount(*subject.writer, 0), 2U);
            write_one(subject, 3.0);
        }
        EXPECT_EQ(Access::rowCount(*subject.writer, 0), 0U);
        subject.writer->flush();
        subject.expectInFiles(0, {1.0, 2.0, 3.0});
    };
    const SweepCounts counts = expect_every_failure_propagates(
        "NativeStreamWriter: write, starting the thread",
        "the sample is not stored; a second attempt stores it",
        [] {
            return written({1.0, 2.0}, 3);
        },
        [](NativeSubject& subject) { write_one(subject, 3.0); }, expectThree);
    EXPECT_GE(counts.failed, 2U);
}

TEST_F(NativeWriterSweepTest, failedHandOverToARunningThreadStoresNothing) {
    expect_every_failure_propagates(
        "NativeStreamWriter: write, handing over to the thread", "the sample is not stored",
        [] {
            NativeSubject subject = written({1.0, 2.0, 3.0}, 3);
            Access::waitUntilTaken(*subject.writer);
            subject.write(0, {4.0, 5.0});
            // Reserves space for the time of the sixth sample, but not for its values.
            std::vector<double>& buffer = Access::buffer(*subject.writer, 0);
            buffer.shrink_to_fit();
            buffer.reserve(buffer.size() + 1);
            return subject;
        },
        [](NativeSubject& subject) { write_one(subject, 6.0); },
        [](NativeSubject& subject, Attempt attempt) {
            if (attempt.threw) {
                EXPECT_EQ(Access::rowCount(*subject.writer, 0), 2U);
                write_one(subject, 6.0);
            }
            subject.writer->flush();
            subject.expectInFiles(0, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
        });
}

TEST_F(NativeWriterSweepTest, failedRollbackIssuesNoWarningAndKeepsTheSamples) {
    std::size_t warningCount = 0;
    auto former = foundation::setWarningHandler(
        [&warningCount](const foundation::Message&) { ++warningCount; });
    expect_every_failure_propagates(
        "NativeStreamWriter: rollback", "no warning, the samples stay",
        [] {
            return written({1.0, 2.0});
        },
        [&](NativeSubject& subject) {
            warningCount = 0;
            subject.writer->rollback(0, 1.0);
        },
        [&](NativeSubject& subject, Attempt attempt) {
            EXPECT_EQ(warningCount, attempt.threw ? 0U : 1U);
            subject.writer->flush();
            subject.expectInFiles(0, {1.0, 2.0});
        });
    foundation::setWarningHandler(std::move(former));
}

TEST_F(NativeWriterSweepTest, failedDataStoreCanBeRepeated) {
    const ValuePath path(widePath);
    const auto expectNamed = [](NativeSubject& subject, Attempt) {
        EXPECT_FALSE(subject.store(widePath).valuesLocation().empty());
    };
    expect_every_failure_propagates(
        "NativeStreamWriter: dataStore", "the next call succeeds", [] { return NativeSubject(); },
        [&](NativeSubject& subject) { EXPECT_FALSE(subject.writer->dataStore(path).empty()); },
        expectNamed);
    expect_every_failure_propagates(
        "NativeStreamWriter: dataStore, not logged", "out_of_range if its text can be allocated",
        [] { return NativeSubject(); },
        [&](NativeSubject& subject) {
            try {
                subject.writer->dataStore(ValuePath("x"));
            } catch (const std::out_of_range&) {
            }
        },
        expectNamed);
}

TEST_F(NativeWriterSweepTest, queriesAndClearBufferAllocateNothing) {
    const auto expect = [&](const char* operation, auto act) {
        expect_no_allocation(
            std::string("NativeStreamWriter: ") + operation,
            [] {
                return written({1.0, 2.0});
            },
            [act](NativeSubject& subject) { act(subject.writer); });
    };
    expect("dataStoreInfo", [](auto& writer) { EXPECT_FALSE(writer->dataStoreInfo()); });
    expect("numChannels", [](auto& writer) { EXPECT_EQ(writer->numChannels(0), 4U); });
    expect("getBufferSize", [](auto& writer) { EXPECT_EQ(writer->getBufferSize(0), 1000U); });
    expect("clearBuffer", [](auto& writer) { writer->clearBuffer(); });
    expect("close", [](auto& writer) { writer->close(); });
    expect("destructor", [](auto& writer) { writer.reset(); });
}

} // namespace
} // namespace logging2::core::test
