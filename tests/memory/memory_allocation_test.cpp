#include <tests/memory/memory_writers.hpp>
#include <tests/support/AllocationCounter.hpp>

#include <limits>
#include <new>
#include <stdexcept>

// The allocations of the memory writers and their reader.

namespace logging2::core::test {
namespace {

constexpr std::size_t rowLength = 37;
constexpr std::size_t rowBytes = rowLength * sizeof(double);
const std::vector<double> row(rowLength, 1.0);

GroupSetup wideSetup() {
    return GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}, {"alias", 0}, {"y", 1}}),
                                                      channels({{0, 30}, {1, 7}}))}};
}

StreamingAttributes limited(std::size_t pointLimit) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    return attributes;
}

std::size_t allocationsOfOneWrite(StreamWriter& writer, double time) {
    const AllocationCounter counter;
    writer.write(0, time, row.data(), rowLength);
    EXPECT_EQ(counter.countOfSize(rowBytes), 1U);
    return counter.count();
}

TEST(MemoryAllocationTest, writeAllocatesTheRowAndAmortisedGrowth) {
    MemoryStreamWriter writer(StreamingAttributes{}, wideSetup());
    std::size_t more = 0;
    for (int i = 0; i < 4096; ++i) {
        const std::size_t count = allocationsOfOneWrite(writer, i);
        EXPECT_GE(count, 1U);
        more += count - 1;
    }
    // The times double 13 times up to 4096. The queue allocates a block for every 32 handles and
    // doubles its directory of blocks. Every 63 rows need a block for their handles.
    EXPECT_LE(more, 13U + 4096U / 32U + 8U + 4096U / 63U + 1U);
}

TEST(MemoryAllocationTest, restrictedWriteAllocatesTheRowAndReusesBlocks) {
    MemoryStreamRestrictedWriter writer(limited(100), wideSetup());
    for (int i = 0; i < 1000; ++i) {
        // From the 189th write on, all rows of the oldest of three blocks have been replaced.
        EXPECT_EQ(allocationsOfOneWrite(writer, i), i < 189 && i % 63 == 0 ? 2U : 1U);
    }
}

/// Writes rowCount steps. A hundred smaller trial steps precede each and are taken back. Returns
/// the number of allocations that are left.
template <class TakeBackAndWrite>
std::size_t allocations_left_by_trials(int rowCount, TakeBackAndWrite takeBackAndWrite) {
    StreamingAttributes attributes = limited(1000);
    attributes.rollbackOnTimeRegression = true;
    MemoryStreamRestrictedWriter writer(attributes, wideSetup());
    const std::size_t before = live_allocation_count();
    for (int i = 0; i < rowCount; ++i) {
        for (int trial = 1; trial <= 100; ++trial) {
            writer.write(0, i + 0.001 * trial, row.data(), rowLength);
        }
        takeBackAndWrite(writer, i + 0.001);
    }
    EXPECT_EQ(writer.numSteps(0), static_cast<std::size_t>(rowCount));
    return live_allocation_count() - before;
}

TEST(MemoryAllocationTest, rowsKeptBetweenLongRollbacksShareTheirBlocks) {
    EXPECT_EQ(allocations_left_by_trials(200,
                                         [](auto& writer, double time) {
                                             writer.rollback(0, std::size_t{100});
                                             writer.write(0, time, row.data(), rowLength);
                                         }),
              200U + 4U);
}

TEST(MemoryAllocationTest, rowsKeptBetweenLongRegressionsShareTheirBlocks) {
    EXPECT_EQ(
        allocations_left_by_trials(
            200, [](auto& writer, double time) { writer.write(0, time, row.data(), rowLength); }),
        200U + 4U);
}

TEST(MemoryAllocationTest, flushFreesTheRowsCompletely) {
    MemoryStreamRestrictedWriter writer(
        limited(500), GroupSetup{{Group(0), LoggedPathsSetupData({}, channels({{0, rowLength}}))}});
    const std::size_t before = live_allocation_count();
    for (int i = 0; i < 500; ++i) {
        writer.write(0, i, row.data(), rowLength);
    }
    writer.flush();
    EXPECT_EQ(live_allocation_count(), before);
}

TEST(MemoryAllocationTest, restrictedRingsAreNeverReallocated) {
    MemoryStreamRestrictedWriter writer(limited(3), wideSetup());
    const double* const storage = writer.times(0).array_one().first;
    write(writer, 0, 0.0, row);
    const double* const first = &writer.times(0)[0];
    for (int i = 1; i <= 3; ++i) {
        write(writer, 0, i, row);
    }
    EXPECT_EQ(&writer.times(0)[2], first);
    EXPECT_EQ(first, storage);
}

TEST(MemoryAllocationTest, constructorAllocatesTheRingsInFull) {
    const AllocationCounter counter;
    const MemoryStreamRestrictedWriter writer(limited(1000), wideSetup());
    EXPECT_EQ(counter.countOfSize(1000 * sizeof(double)), 1U);
    EXPECT_EQ(counter.countOfSize(1000 * sizeof(detail::RowHandle)), 1U);
}

template <class Writer>
void expectColumnsAllocatedOnce() {
    Writer writer(limited(100), wideSetup());
    for (int i = 0; i < 100; ++i) {
        write(writer, 0, i, row);
    }
    const AllocationCounter counter;
    writer.flush();
    EXPECT_EQ(counter.countOfSize(100 * 30 * sizeof(double)), 1U);
    EXPECT_EQ(counter.countOfSize(100 * 7 * sizeof(double)), 1U);
    EXPECT_LT(counter.byteCount(), (100 * rowLength + 2 * 100 + 400) * sizeof(double));
}

TEST(MemoryAllocationTest, flushAllocatesEachColumnOnceAtItsFinalSize) {
    expectColumnsAllocatedOnce<MemoryStreamWriter>();
    expectColumnsAllocatedOnce<MemoryStreamRestrictedWriter>();
}

TEST(MemoryAllocationTest, cloneCopiesNoData) {
    MemoryStreamWriter writer(StreamingAttributes{}, wideSetup());
    for (int i = 0; i < 1000; ++i) {
        write(writer, 0, i, row);
    }
    writer.flush();
    const MemoryStreamReader reader(writer.dataStore(ValuePath("x")));
    const AllocationCounter counter;
    const std::unique_ptr<StreamReader> clone = reader.clone();
    EXPECT_EQ(counter.count(), 1U);
    EXPECT_LE(counter.byteCount(), 64U);
}

TEST(MemoryAllocationTest, readingAllocatesOnlyResultsOfExactSize) {
    MemoryStreamWriter writer(StreamingAttributes{}, wideSetup());
    for (int i = 0; i < 10; ++i) {
        write(writer, 0, i, row);
    }
    writer.flush();
    const MemoryStreamReader reader(writer.dataStore(ValuePath("y")));
    const AllocationCounter counter;
    const auto series = reader.timeseries();
    EXPECT_EQ(counter.count(), 2U);
    EXPECT_EQ(counter.byteCount(), (10 + 70) * sizeof(double));
}

TEST(MemoryAllocationTest, limitBeyondMemoryThrowsBadAllocWithoutALeak) {
    for (const std::size_t limit : {std::size_t{1} << 45U, (std::size_t{1} << 60U) - 1}) {
        const GroupSetup setup = wideSetup();
        const std::size_t before = live_allocation_count();
        EXPECT_THROW(MemoryStreamRestrictedWriter(limited(limit), setup), std::bad_alloc);
        EXPECT_EQ(live_allocation_count(), before);
    }
}

TEST(MemoryAllocationTest, constructorWithoutMemoryFreesItsRings) {
    const GroupSetup setup = wideSetup();
    const StreamingAttributes attributes = limited(100);
    bool failed = true;
    for (std::size_t n = 0; failed; ++n) {
        const std::size_t before = live_allocation_count();
        const AllocationFailure failure(n);
        try {
            const MemoryStreamRestrictedWriter writer(attributes, setup);
        } catch (const std::bad_alloc&) {
        }
        failed = failure.happened();
        EXPECT_TRUE(failed || n >= 4);
        EXPECT_EQ(live_allocation_count(), before);
    }
}

/// Writes enough samples that the next one needs a new block of handles.
template <class Writer>
void fillABlock(Writer& writer) {
    for (int i = 0; i < 63; ++i) {
        write(writer, 0, i, row);
    }
}

template <class Writer>
void expectFailedWriteStoresNothing() {
    for (std::size_t n = 0; n < 2; ++n) {
        Writer writer(limited(100), wideSetup());
        fillABlock(writer);
        {
            const AllocationFailure failure(n);
            EXPECT_THROW(writer.write(0, 99.0, row.data(), rowLength), std::bad_alloc);
        }
        EXPECT_EQ(writer.numSteps(0), 63U);
        EXPECT_EQ(writer.data(0).size(), 63U);
    }
}

TEST(MemoryAllocationTest, writeWithoutMemoryStoresNothing) {
    expectFailedWriteStoresNothing<MemoryStreamWriter>();
    expectFailedWriteStoresNothing<MemoryStreamRestrictedWriter>();
}

TEST(MemoryAllocationTest, timesAndRowsStayParallelAfterAnyFailedAllocation) {
    bool failed = true;
    for (std::size_t n = 0; failed; ++n) {
        MemoryStreamWriter writer(StreamingAttributes{}, wideSetup());
        std::size_t written = 0;
        const AllocationFailure failure(n);
        try {
            for (; written < 100; ++written) {
                writer.write(0, static_cast<double>(written), row.data(), rowLength);
            }
        } catch (const std::bad_alloc&) {
        }
        failed = failure.happened();
        EXPECT_EQ(writer.numSteps(0), written);
        EXPECT_EQ(writer.data(0).size(), written);
    }
}

template <class Writer>
void expectFailedRegressionRollsNothingBack() {
    StreamingAttributes attributes = limited(100);
    attributes.rollbackOnTimeRegression = true;
    for (std::size_t n = 0; n < 2; ++n) {
        Writer writer(attributes, wideSetup());
        fillABlock(writer);
        const AllocationFailure failure(n);
        EXPECT_THROW(writer.write(0, 0.5, row.data(), rowLength), std::bad_alloc);
        EXPECT_EQ(writer.numSteps(0), 63U);
    }
}

TEST(MemoryAllocationTest, regressionWithoutMemoryForItsRowRollsNothingBack) {
    expectFailedRegressionRollsNothingBack<MemoryStreamWriter>();
    expectFailedRegressionRollsNothingBack<MemoryStreamRestrictedWriter>();
}

TEST(MemoryAllocationTest, failedFlushCountsAsAFlush) {
    MemoryStreamWriter writer(StreamingAttributes{}, wideSetup());
    write(writer, 0, 1.0, row);
    {
        const AllocationFailure failure(1, std::numeric_limits<std::size_t>::max());
        EXPECT_THROW(writer.flush(), std::bad_alloc);
    }
    const AllocationCounter counter;
    writer.close();
    EXPECT_EQ(counter.count(), 0U);
}

TEST(MemoryAllocationTest, failedFlushKeepsTheStoresOfEarlierGroups) {
    const LoggedPathsSetupData one(paths({{"one", 0}}), channels({{0, 1}}));
    const LoggedPathsSetupData two(paths({{"two", 0}}), channels({{0, 1000}}));
    bool failedLate = false;
    for (std::size_t n = 0; n < 40 && !failedLate; ++n) {
        MemoryStreamWriter attempt(StreamingAttributes{},
                                   GroupSetup{{Group(0), one}, {Group(1), two}});
        write(attempt, 0, 1.0, {5.0});
        write(attempt, 1, 1.0, std::vector<double>(1000, 1.0));
        try {
            const AllocationFailure failure(n);
            attempt.flush();
        } catch (const std::bad_alloc&) {
        }
        try {
            failedLate = memoryStore(attempt, "one").values->at(0) == 5.0;
            memoryStore(attempt, "two");
            failedLate = false;
        } catch (const std::out_of_range&) {
        }
    }
    EXPECT_TRUE(failedLate) << "no failure hit only the second group";
}

TEST(MemoryAllocationTest, readerOfAnotherStoreAllocatesOnlyTheError) {
    const boost::any other = 1;
    std::size_t errorCount = 0;
    {
        const AllocationCounter counter;
        EXPECT_THROW(static_cast<void>(boost::any_cast<const MemoryDatastore&>(other)),
                     boost::bad_any_cast);
        errorCount = counter.count();
    }
    const AllocationCounter counter;
    EXPECT_THROW(MemoryStreamReader{other}, boost::bad_any_cast);
    EXPECT_EQ(counter.count(), errorCount);
}

} // namespace
} // namespace logging2::core::test
