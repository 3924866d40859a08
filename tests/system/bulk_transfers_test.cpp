#include <tests/native/native_writers.hpp>
#include <tests/support/FailingCalls.hpp>

#include <numeric>

// A column of any length is written by one call and read by one call.

namespace logging2::core::test {
namespace {

class BulkTransfersTest : public NativeStreamWriterTest {};

TEST_F(BulkTransfersTest, columnIsWrittenAndReadInOnePiece) {
    std::vector<double> times(100000);
    std::iota(times.begin(), times.end(), 0.0);
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, times);
    {
        const FailingCalls writes(Call::write, "times_0", {});
        writer.flushIntermediate();
        EXPECT_EQ(writes.count(), 1U);
    }
    const NativeStreamReader reader(writer.dataStore(ValuePath("x")));
    const FailingCalls reads(Call::read, "times_0", {});
    EXPECT_EQ(reader.times(), times);
    EXPECT_EQ(reads.count(), 1U);
}

} // namespace
} // namespace logging2::core::test
