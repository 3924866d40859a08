#include <tests/native/native_writers.hpp>

#include <stdexcept>

// Lengths that no array has. A sanitizer would stop at the end of the array that is passed.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class NativeLengthErrorTest : public NativeStreamWriterTest {};

TEST_F(NativeLengthErrorTest, impossibleRowLengthThrowsLengthErrorAndStoresNothing) {
    for (const std::size_t length : {std::size_t{1} << 60U, ~std::size_t{0}}) {
        NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
        const double value = 0.0;
        EXPECT_THROW(writer.write(0, 0.0, &value, length), std::length_error);
        writeTimes(writer, 0, {1.0, 2.0});
        writer.flush();
        EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0));
        EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0));
    }
}

} // namespace
} // namespace logging2::core::test
