#include <tests/allocation/ChildProcess.hpp>
#include <tests/allocation/native_subjects.hpp>

#include <memory>

// The background thread while each of its allocations fails once: the process ends, and the files
// keep what was written before.

namespace logging2::core::test {
namespace {

using NativeThreadSweepTest = NativeSweepTest;

/// The progress of the child process.
struct Progress {
    std::size_t batchesTaken = 0;
    bool failed = false;
};

/// Lives on the background thread and reports at its end whether the allocation was requested.
class FailureOnThread {
public:
    FailureOnThread(std::size_t before, Progress& told) : failure(before), progress(told) {}
    ~FailureOnThread() { progress.failed = failure.happened(); }

private:
    AllocationFailure failure;
    Progress& progress;
};

void write_two_batches(NativeSubject& subject, std::size_t before, Progress& progress) {
    Access::setBufferSize(*subject.writer, 0, 2);
    Access::startPrepared(*subject.writer, [&] {
        return std::unique_ptr<FailureOnThread>(new FailureOnThread(before, progress));
    });
    for (const double first : {1.0, 3.0}) {
        subject.write(0, {first, first + 1.0});
        Access::waitUntilTaken(*subject.writer);
        ++progress.batchesTaken;
    }
    subject.writer->flush();
}

std::vector<double> first_of(const std::vector<double>& all, std::size_t count) {
    return {all.data(), all.data() + count};
}

/// Expects each file to hold whole batches in order.
void expect_whole_batches(const NativeSubject& subject, std::size_t batchesTaken) {
    const std::vector<double> times = subject.timesIn(firstPath);
    const std::vector<double> all{1.0, 2.0, 3.0, 4.0};
    EXPECT_EQ(times.size() % 2, 0U);
    EXPECT_GE(times.size(), 2 * batchesTaken);
    EXPECT_EQ(times, first_of(all, times.size()));
    const std::vector<double> narrow = subject.valuesIn(firstPath);
    EXPECT_LE(narrow.size(), times.size());
    EXPECT_GE(narrow.size(), 2 * batchesTaken);
    EXPECT_EQ(narrow, first_of(all, narrow.size()));
    EXPECT_EQ(subject.valuesIn(widePath).size() % 4, 0U);
    EXPECT_GE(subject.valuesIn(widePath).size(), 4 * batchesTaken);
}

TEST_F(NativeThreadSweepTest, everyFailureEndsTheProcessAndKeepsWrittenBatches) {
    SweepCounts counts;
    for (bool ended = true; ended && counts.failed < 1000;) {
        SCOPED_TRACE("failing allocation " + std::to_string(counts.failed));
        NativeSubject subject;
        const Shared<Progress> progress;
        const int status =
            status_of_child([&] { write_two_batches(subject, counts.failed, *progress); });
        ended = wasAborted(status);
        EXPECT_TRUE(ended || exitedWithSuccess(status)) << status;
        EXPECT_FALSE(progress->failed) << "the failure did not end the process";
        expect_whole_batches(subject, progress->batchesTaken);
        EXPECT_EQ(progress->batchesTaken == 2, !ended);
        counts.failed += ended ? 1 : 0;
        counts.thrown += ended ? 1 : 0;
    }
    EXPECT_GT(counts.failed, 5U);
    print_sweep("NativeStreamWriter: background thread, two batches", counts,
                "the process ends (SIGABRT), the files hold whole batches");
}

} // namespace
} // namespace logging2::core::test
