#include <logging2/backends/builtin/builtin_backends.hpp>

#include <tests/allocation/first_calls.hpp>

// What an operation makes once per process, while every allocation of its first call fails once:
// the failure comes out, and the next call finds nothing half made. Each run has a process of its
// own; this one must never call what it sweeps.

namespace logging2::core::test {
namespace {

TEST_F(FirstCallsSweepTest, constantTextsAreMadeByTheNextCall) {
    expect_every_first_failure_comes_out("times, values", [] {
        EXPECT_EQ(times(), u"times_");
        EXPECT_EQ(values(), u"values_");
    });
    expect_every_first_failure_comes_out("datastore_run_id, datastore_model_id", [] {
        EXPECT_EQ(datastore_run_id(), "runId");
        EXPECT_EQ(datastore_model_id(), "model");
    });
    expect_every_first_failure_comes_out("builtin_backends",
                                         [] { EXPECT_EQ(builtin_backends().size(), 3U); });
}

TEST_F(FirstCallsSweepTest, identifiersAreDrawnByTheNextCall) {
    expect_every_first_failure_comes_out("get_unique_id",
                                         [] { EXPECT_EQ(get_unique_id().text().size(), 36U); });
}

TEST_F(FirstCallsSweepTest, locationIsDrawnByTheNextCall) {
    const SweepCounts counts =
        sweep_first_call("StreamLocationCreator: constructor",
                         "the next call succeeds; absorbed: the host's directory name",
                         [] { EXPECT_FALSE(StreamLocationCreator().getUniquePath().empty()); });
    EXPECT_GT(counts.thrown, 10U);
}

TEST_F(FirstCallsSweepTest, metadataThatWasMovedAwayDescribesNothing) {
    expect_every_first_failure_comes_out("StreamMetadata: questions after a move", [] {
        StreamMetadata described({}, {}, {});
        const StreamMetadata moved(std::move(described));
        EXPECT_TRUE(described.groupChannels().empty());
    });
}

TEST_F(FirstCallsSweepTest, writerOfTheNextCallWritesItsFiles) {
    const SweepCounts counts = sweep_first_call(
        "NativeStreamWriter: life of a writer",
        "the next writer's files are whole; absorbed: the host's directory name", [] {
            NativeSubject subject;
            const double value = -1.0;
            subject.writer->write(1, 1.0, &value, 1);
            subject.writer->flushIntermediate();
            subject.writer->flush();
        });
    EXPECT_GT(counts.thrown, 50U);
}

TEST_F(FirstCallsSweepTest, warningWithoutAHandlerIsPrintedByTheNextCall) {
    expect_every_first_failure_comes_out("issueWarning without a handler", [] {
        const std::u16string name = u"a stream whose name is a long text";
        foundation::issueWarning(foundation::Message("catalogue", "RollbackNotSupported", {name}));
    });
}

} // namespace
} // namespace logging2::core::test
