#include <tests/allocation/memory_subjects.hpp>

#include <map>
#include <optional>
#include <stdexcept>

// The memory writers while every allocation fails once: all operations except the flush.

namespace logging2::core::test {
namespace {

TYPED_TEST_SUITE(MemoryWritersSweepTest, MemoryWriters, WriterNames);

TYPED_TEST(MemoryWritersSweepTest, failedConstructorLeavesItsArguments) {
    struct Inputs {
        StreamingAttributes attributes = fullAttributes();
        GroupSetup setup = twoGroups();
        std::optional<TypeParam> writer;
    };
    expect_every_failure_propagates(
        this->named("constructor, two groups"), "the arguments can be used again",
        [] { return Inputs(); },
        [](Inputs& inputs) { inputs.writer.emplace(inputs.attributes, inputs.setup); },
        [](Inputs& inputs, Attempt attempt) {
            EXPECT_NE(inputs.writer.has_value(), attempt.threw);
            inputs.writer.emplace(inputs.attributes, inputs.setup);
            write(*inputs.writer, 1, 1.0, {10.0});
            inputs.writer->flush();
            EXPECT_EQ(*memoryStore(*inputs.writer, secondGroupPath).values,
                      std::vector<double>{10.0});
        });
}

TYPED_TEST(MemoryWritersSweepTest, movesAllocateNothing) {
    using Subject = MemorySubject<TypeParam>;
    const auto arrange = [] {
        Subject subject;
        subject.writeUpTo(0, 40);
        return subject;
    };
    expect_no_allocation(this->named("move constructor"), arrange,
                         [](Subject& subject) { TypeParam moved(std::move(*subject.writer)); });
    struct Pair {
        Subject from;
        Subject to;
    };
    expect_no_allocation(
        this->named("move assignment"),
        [&] {
            return Pair{arrange(), arrange()};
        },
        [](Pair& pair) { *pair.to.writer = std::move(*pair.from.writer); });
}

// The writes start with empty containers and cover every growth.
TYPED_TEST(MemoryWritersSweepTest, failedWriteStoresNothing) {
    using Subject = MemorySubject<TypeParam>;
    struct Run {
        Subject subject;
        int written = 0;
    };
    expect_every_failure_propagates(
        this->named("write, 60 samples"), "only that sample is not stored", [] { return Run(); },
        [](Run& run) {
            for (; run.written < 60; ++run.written) {
                const double row[] = {1.0 * run.written, run.written + 0.25, run.written + 0.5};
                run.subject.writer->write(0, run.written, row, 3);
            }
        },
        [](Run& run, Attempt) {
            for (int i = 0; i < run.written; ++i) {
                run.subject.oracle.write(0, i, rowAt(0, i));
            }
            run.subject.expectHeld();
            for (; run.written < 60; ++run.written) {
                run.subject.write(0, run.written);
            }
            run.subject.expectStoredByFlush();
        });
}

TYPED_TEST(MemoryWritersSweepTest, failedWriteToAFullContainerOverwritesNothing) {
    using Subject = MemorySubject<TypeParam>;
    expect_every_failure_propagates(
        this->named("write, 64 samples held"), "nothing is stored, nothing is overwritten",
        [] {
            Subject subject;
            subject.writeUpTo(1, 64);
            return subject;
        },
        [](Subject& subject) {
            const double value = -64.0;
            subject.writer->write(1, 64.0, &value, 1);
        },
        [](Subject& subject, Attempt attempt) {
            if (!attempt.threw) {
                subject.oracle.write(1, 64.0, {-64.0});
            }
            subject.expectHeld();
        });
}

TYPED_TEST(MemoryWritersSweepTest, failedRegressionRollsBackOnlyIfTheGrowthFailed) {
    using Subject = MemorySubject<TypeParam>;
    constexpr std::size_t ofTheRow = 1; // its handle fits into an existing block
    for (const auto& [time, name] : std::map<double, const char*>{
             {-1.0, "before the first"}, {10.0, "10"}, {31.0, "31"}, {31.5, "31.5"}}) {
        const double row[] = {time, time + 0.25, time + 0.5};
        expect_every_failure_propagates(
            this->named(std::string("write, 33 samples held, back to time ") + name),
            "nothing is stored; rolled back only if the growth failed",
            [] {
                Subject subject(true);
                subject.writeUpTo(0, 33);
                return subject;
            },
            [&row, time = time](Subject& subject) { subject.writer->write(0, time, row, 3); },
            [&row, time = time](Subject& subject, Attempt attempt) {
                const bool growthFailed = attempt.threw && attempt.before >= ofTheRow;
                EXPECT_FALSE(growthFailed && Subject::isRestricted);
                if (growthFailed) {
                    subject.oracle.write(0, time, {});
                    subject.oracle.rollbackByCount(0, 1);
                }
                if (attempt.threw) {
                    subject.expectHeld();
                    subject.writer->write(0, time, row, 3);
                }
                subject.oracle.write(0, time, rowAt(0, time));
                subject.expectStoredByFlush();
            });
    }
}

TYPED_TEST(MemoryWritersSweepTest, queriesAndRollbackAllocateNothing) {
    using Subject = MemorySubject<TypeParam>;
    const auto arrange = [] {
        Subject subject;
        subject.writeUpTo(0, 40);
        return subject;
    };
    const auto expect = [&](const char* operation, auto act) {
        expect_no_allocation(this->named(operation), arrange,
                             [act](Subject& subject) { act(subject.writer); });
    };
    expect("rollback by time", [](auto& writer) { writer->rollback(0, 10.0); });
    expect("rollback by count", [](auto& writer) { writer->rollback(0, std::size_t{20}); });
    expect("rollback of everything", [](auto& writer) { writer->rollback(0, std::size_t{90}); });
    expect("dataStoreInfo", [](auto& writer) { EXPECT_FALSE(writer->dataStoreInfo()); });
    expect("flushIntermediate", [](auto& writer) { writer->flushIntermediate(); });
    expect("numSteps", [](auto& writer) { EXPECT_EQ(writer->numSteps(0), 40U); });
    expect("times", [](auto& writer) { EXPECT_EQ(writer->times(0).size(), 40U); });
    expect("data", [](auto& writer) { EXPECT_EQ(writer->data(0).size(), 40U); });
    expect("destructor", [](auto& writer) { writer.reset(); });
}

} // namespace
} // namespace logging2::core::test
