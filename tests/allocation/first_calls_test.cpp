#include <logging2/backends/builtin/builtin_backends.hpp>

#include <tests/allocation/first_calls.hpp>

// Objects that an operation makes once per process. Every allocation of the first call fails once:
// the failure propagates, and the next call succeeds. Each run uses a child process, so this
// process must never call the operations itself.

namespace logging2::core::test {
namespace {

TEST_F(FirstCallsSweepTest, nextCallMakesConstantTexts) {
    expect_every_first_failure_propagates("times, values", [] {
        EXPECT_EQ(times(), u"times_");
        EXPECT_EQ(values(), u"values_");
    });
    expect_every_first_failure_propagates("datastore_run_id, datastore_model_id", [] {
        EXPECT_EQ(datastore_run_id(), "runId");
        EXPECT_EQ(datastore_model_id(), "model");
    });
    expect_every_first_failure_propagates("builtin_backends",
                                          [] { EXPECT_EQ(builtin_backends().size(), 3U); });
}

TEST_F(FirstCallsSweepTest, nextCallMakesAnIdentifier) {
    expect_every_first_failure_propagates("get_unique_id",
                                          [] { EXPECT_EQ(get_unique_id().text().size(), 36U); });
}

TEST_F(FirstCallsSweepTest, nextCallMakesALocation) {
    const SweepCounts counts =
        sweep_first_call("StreamLocationCreator: constructor",
                         "the next call succeeds; absorbed: the host's directory name",
                         [] { EXPECT_FALSE(StreamLocationCreator().getUniquePath().empty()); });
    EXPECT_GT(counts.thrown, 10U);
}

TEST_F(FirstCallsSweepTest, nextCallReadsMovedFromMetadata) {
    expect_every_first_failure_propagates("StreamMetadata: queries after a move", [] {
        StreamMetadata described({}, {}, {});
        const StreamMetadata moved(std::move(described));
        EXPECT_TRUE(described.groupChannels().empty());
    });
}

TEST_F(FirstCallsSweepTest, nextWriterWritesItsFiles) {
    const SweepCounts counts = sweep_first_call(
        "NativeStreamWriter: life of a writer",
        "the next writer's files are complete; absorbed: the host's directory name", [] {
            NativeSubject subject;
            const double value = -1.0;
            subject.writer->write(1, 1.0, &value, 1);
            subject.writer->flushIntermediate();
            subject.writer->flush();
        });
    EXPECT_GT(counts.thrown, 50U);
}

TEST_F(FirstCallsSweepTest, nextCallPrintsTheWarningWithoutAHandler) {
    expect_every_first_failure_propagates("issueWarning without a handler", [] {
        const std::u16string name = u"a stream whose name is a long text";
        foundation::issueWarning(foundation::Message("catalogue", "RollbackNotSupported", {name}));
    });
}

} // namespace
} // namespace logging2::core::test
