#include <tests/allocation/memory_subjects.hpp>

#include <stdexcept>

// The flush of the memory writers and their stores, while every allocation fails once.

namespace logging2::core::test {
namespace {

TYPED_TEST_SUITE(MemoryWritersSweepTest, MemoryWriters, WriterNames);

/// The number of paths that have a store. Each store must be correct.
template <class Writer>
std::size_t store_count(const MemorySubject<Writer>& subject,
                        std::initializer_list<const char*> names) {
    std::size_t count = 0;
    for (const char* name : names) {
        count += subject.hasStore(ValuePath(name)) ? 1 : 0;
    }
    return count;
}

/// Expects stores of all groups before the one that failed and none of the groups after it. No
/// store may be incomplete.
template <class Writer>
void expect_whole_stores(MemorySubject<Writer>& subject, Attempt attempt) {
    const MemoryOracle before = subject.oracle;
    subject.oracle.flush();
    const std::size_t first = store_count(subject, {firstPath, aliasPath, widePath});
    const std::size_t second = store_count(subject, {secondGroupPath});
    EXPECT_TRUE(second == 0 || first == 3);
    EXPECT_EQ(first + second == 4, !attempt.threw);
    if (first < 3) {
        EXPECT_EQ(subject.writer->numSteps(1), before.times[1].size());
        EXPECT_EQ(subject.writer->data(1).size(), before.rows[1].size());
    }
}

template <class Writer>
MemorySubject<Writer> written() {
    MemorySubject<Writer> subject;
    subject.writeUpTo(0, 50);
    subject.writeUpTo(1, 20);
    return subject;
}

/// The allocations for all columns: the list of groups, and for each group the list of columns, and
/// for each column its handle and its elements. If one fails, the groups make their own columns.
constexpr std::size_t columnAllocationCount = 1 + 2 + 3 * 2;

/// Sweeps over an operation that flushes.
template <class Writer, class Act, class Check>
void sweep_flush(const std::string& operation, const std::string& outcome, Act act, Check check) {
    const SweepCounts counts = for_every_failing_allocation(written<Writer>, act, check);
    EXPECT_EQ(counts.absorbed(), columnAllocationCount);
    EXPECT_GT(counts.thrown, 0U);
    print_sweep(operation, counts, outcome);
}

TYPED_TEST(MemoryWritersSweepTest, failedFlushKeepsTheStoresOfEarlierGroups) {
    using Subject = MemorySubject<TypeParam>;
    sweep_flush<TypeParam>(
        this->named("flush"),
        "the stores of earlier groups stay, no store is incomplete; absorbed: columns of all "
        "groups",
        [](Subject& subject) { subject.writer->flush(); },
        [](Subject& subject, Attempt attempt) { expect_whole_stores(subject, attempt); });
}

TYPED_TEST(MemoryWritersSweepTest, failedCloseCountsAsAFlush) {
    using Subject = MemorySubject<TypeParam>;
    sweep_flush<TypeParam>(
        this->named("close"), "as flush; a second close does nothing",
        [](Subject& subject) { subject.writer->close(); },
        [](Subject& subject, Attempt attempt) {
            const AllocationCounter counter;
            subject.writer->close();
            EXPECT_EQ(counter.count(), 0U);
            expect_whole_stores(subject, attempt);
        });
}

template <class Writer>
MemorySubject<Writer> flushed() {
    MemorySubject<Writer> subject = written<Writer>();
    subject.expectStoredByFlush();
    return subject;
}

TYPED_TEST(MemoryWritersSweepTest, failedDataStoreKeepsTheStore) {
    using Subject = MemorySubject<TypeParam>;
    const ValuePath path(widePath);
    expect_every_failure_propagates(
        this->named("dataStore"), "the store stays", flushed<TypeParam>,
        [&](Subject& subject) { EXPECT_FALSE(subject.writer->dataStore(path).empty()); },
        [&](Subject& subject, Attempt) { EXPECT_TRUE(subject.hasStore(path)); });
    expect_every_failure_propagates(
        this->named("dataStore, not stored"), "out_of_range if its text can be allocated",
        flushed<TypeParam>,
        [&](Subject& subject) {
            try {
                subject.writer->dataStore(ValuePath("x"));
            } catch (const std::out_of_range&) {
            }
        },
        [&](Subject& subject, Attempt) { EXPECT_TRUE(subject.hasStore(path)); });
}

TYPED_TEST(MemoryWritersSweepTest, closeAndDestructorAfterFlushAllocateNothing) {
    using Subject = MemorySubject<TypeParam>;
    expect_no_allocation(this->named("close after flush"), flushed<TypeParam>,
                         [](Subject& subject) { subject.writer->close(); });
    expect_no_allocation(this->named("destructor after flush"), flushed<TypeParam>,
                         [](Subject& subject) { subject.writer.reset(); });
    expect_no_allocation(this->named("move after flush"), flushed<TypeParam>,
                         [](Subject& subject) { TypeParam moved(std::move(*subject.writer)); });
}

} // namespace
} // namespace logging2::core::test
