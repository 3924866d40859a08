#include <tests/native/native_writers.hpp>
#include <tests/support/AllocationCounter.hpp>

#include <new>

// What the file-backed writer and its reader allocate.

namespace logging2::core::test {
namespace {

class NativeAllocationTest : public NativeStreamWriterTest {};

TEST_F(NativeAllocationTest, writeBelowTheThresholdAllocatesNothingButTheBuffersGrowth) {
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

TEST_F(NativeAllocationTest, writeThatRunsOutOfMemoryStoresNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    std::size_t failures = 0;
    for (int i = 0; i < 200; ++i) {
        const std::size_t valueCount = Access::buffer(writer, 0).size();
        try {
            const AllocationFailure failure(0);
            const double row[] = {1.0, 2.0, 3.0};
            writer.write(0, i, row, 3);
        } catch (const std::bad_alloc&) {
            ++failures;
            EXPECT_EQ(Access::buffer(writer, 0).size(), valueCount);
            write(writer, 0, i, {1.0, 2.0, 3.0});
        }
    }
    EXPECT_GE(failures, 8U);
    EXPECT_EQ(Access::rowCount(writer, 0), 200U);
    EXPECT_EQ(Access::buffer(writer, 0).size(), 800U);
}

TEST_F(NativeAllocationTest, readerSizesItsVectorOnce) {
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
