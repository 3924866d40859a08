#include <tests/native/native_writers.hpp>
#include <tests/support/AllocationCounter.hpp>

#include <cstdlib>
#include <memory>
#include <new>

// The allocations of the file-backed writer and its reader.

namespace logging2::core::test {
namespace {

class NativeAllocationTest : public NativeStreamWriterTest {};

TEST_F(NativeAllocationTest, writeBelowTheThresholdAllocatesOnlyToGrowTheBuffer) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarGroups({0, 1}));
    // The first sample of a group records its width.
    writeTimes(writer, 0, {0.0});
    writeTimes(writer, 1, {0.0});
    const double value = 1.0;
    std::size_t growths = 0;
    for (int i = 0; i < 100000; ++i) {
        const std::size_t capacity = Access::buffer(writer, 0).capacity();
        std::size_t allocations = 0;
        {
            const AllocationCounter counter;
            writer.write(0, i, &value, 1);
            allocations = counter.count();
        }
        const bool grew = Access::buffer(writer, 0).capacity() != capacity;
        growths += grew ? 1 : 0;
        ASSERT_EQ(allocations, grew ? 1U : 0U);
    }
    EXPECT_LE(growths, 18U);
}

// The rows have different lengths, so that the growth fails sometimes for the time and sometimes
// for the values.
TEST_F(NativeAllocationTest, writeWithoutMemoryStoresNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    const std::vector<double> row(7, 1.0);
    write(writer, 0, 0.0, row);
    std::size_t failuresAfterTheTime = 0;
    for (std::size_t i = 0; i < 200; ++i) {
        const std::size_t n = 1 + i % 7;
        const std::size_t formerSize = Access::buffer(writer, 0).size();
        const bool timeFits = Access::buffer(writer, 0).capacity() > formerSize;
        try {
            const AllocationFailure failure(0);
            writer.write(0, 1.0, row.data(), n);
        } catch (const std::bad_alloc&) {
            failuresAfterTheTime += timeFits ? 1 : 0;
            ASSERT_EQ(Access::buffer(writer, 0).size(), formerSize);
            writer.write(0, 1.0, row.data(), n);
        }
    }
    EXPECT_GE(failuresAfterTheTime, 3U);
    EXPECT_EQ(Access::rowCount(writer, 0), 201U);
}

TEST_F(NativeAllocationTest, failedFirstSampleDoesNotSetTheWidth) {
    bool failed = true;
    for (std::size_t n = 0; failed; ++n) {
        NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
        const std::vector<double> row(5, 1.0);
        {
            const AllocationFailure failure(n);
            try {
                writer.write(0, 0.0, row.data(), row.size());
            } catch (const std::bad_alloc&) {
            }
            failed = failure.happened();
        }
        if (failed) {
            writeTimes(writer, 0, {1.0, 2.0});
            writer.flush();
            EXPECT_EQ(timesIn(writer, "x"), (std::vector<double>{1.0, 2.0})) << n;
        } else {
            EXPECT_GE(n, 2U);
        }
    }
}

// The columns never contain values that were not logged, and the rows stay for the next call.
TEST_F(NativeAllocationTest, flushIntermediateWithoutMemoryLosesNothing) {
    bool failed = true;
    for (std::size_t n = 0; failed; ++n) {
        NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
        write(writer, 0, 1.0, {10.0, 11.0, 12.0});
        write(writer, 0, 2.0, {20.0, 21.0, 22.0});
        {
            const AllocationFailure failure(n);
            try {
                writer.flushIntermediate();
            } catch (const std::bad_alloc&) {
            }
            failed = failure.happened();
        }
        write(writer, 0, 3.0, {30.0, 31.0, 32.0});
        writer.flush();
        EXPECT_EQ(timesIn(writer, "a"), (std::vector<double>{1.0, 2.0, 3.0})) << n;
        EXPECT_EQ(valuesIn(writer, "a"), (std::vector<double>{10.0, 20.0, 30.0}));
        EXPECT_EQ(valuesIn(writer, "b"), (std::vector<double>{11.0, 12.0, 21.0, 22.0, 31.0, 32.0}));
        EXPECT_LT(n, 100U);
    }
}

/// Group 0 with the channels 0 and 1. No path shows channel 0.
GroupSetup setupWithAHiddenChannel() {
    return GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}}), channels({{0, 1}, {1, 1}}))}};
}

TEST_F(NativeAllocationTest, channelWithoutAPathCostsLinearTime) {
    constexpr std::size_t flushCount = 3000;
    NativeStreamWriter writer(StreamingAttributes{}, setupWithAHiddenChannel());
    std::size_t copied = 0;
    for (std::size_t i = 0; i < flushCount; ++i) {
        write(writer, 0, 1.0, {10.0, 11.0});
        const auto& hidden = Access::columns(writer, 0)[1];
        const std::size_t capacity = hidden.capacity();
        const std::size_t formerSize = hidden.size();
        writer.flushIntermediate();
        copied += hidden.capacity() != capacity ? formerSize : 0;
    }
    EXPECT_EQ(Access::columns(writer, 0)[1].size(), flushCount);
    EXPECT_LE(copied, 2 * flushCount);
}

TEST_F(NativeAllocationTest, flushIntermediateWithoutMemoryKeepsAChannelWithoutAPath) {
    bool threw = true;
    for (std::size_t n = 0; threw; ++n) {
        NativeStreamWriter writer(StreamingAttributes{}, setupWithAHiddenChannel());
        write(writer, 0, 1.0, {10.0, 11.0});
        writer.flushIntermediate();
        write(writer, 0, 2.0, {20.0, 21.0});
        try {
            const AllocationFailure failure(n);
            writer.flushIntermediate();
            threw = false;
        } catch (const std::bad_alloc&) {
        }
        const auto& hidden = Access::columns(writer, 0)[1];
        EXPECT_EQ(hidden.size(), threw ? 1U : 2U) << n;
        EXPECT_EQ(hidden.front(), 10.0);
        ASSERT_LT(n, 100U);
    }
}

TEST_F(NativeAllocationTest, threadWithoutMemoryEndsTheProcess) {
    ::testing::FLAGS_gtest_death_test_style = "fast";
    EXPECT_DEATH(
        {
            NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
            Access::setBufferSize(writer, 0, 1);
            Access::startPrepared(writer, [] { return std::make_unique<AllocationFailure>(0); });
            writeTimes(writer, 0, {1.0});
            Access::waitUntilTaken(writer);
            std::_Exit(0);
        },
        "bad_alloc");
}

TEST_F(NativeAllocationTest, readerAllocatesItsVectorOnce) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    for (int i = 0; i < 5000; ++i) {
        writeTimes(writer, 0, {static_cast<double>(i)});
    }
    writer.flush();
    const NativeStreamReader reader(writer.dataStore(ValuePath("x")));
    const AllocationCounter counter;
    const std::vector<double> times = reader.times();
    EXPECT_EQ(times.capacity(), 5000U);
    EXPECT_EQ(counter.countOfSize(5000 * sizeof(double)), 1U);
    EXPECT_LT(counter.byteCount(), 5000 * sizeof(double) + 32768);
}

} // namespace
} // namespace logging2::core::test
