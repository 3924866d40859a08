#include <tests/support/nan.hpp>
#include <tests/tools/compare/VectorSource.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/compare/compare_exactly.hpp>

#include <gtest/gtest.h>

#include <cmath>

namespace logging2::tools {
namespace {

Comparison compared(const TestSamples& a, const TestSamples& b) {
    VectorSource sourceA(a);
    VectorSource sourceB(b);
    return compare_exactly(sourceA, sourceB, 1);
}

TEST(CompareExactlyTest, signalIsTheSameAsItself) {
    const TestSamples samples =
        scalar({{1, nan}, {nan, infinity}, {0, 3}, {0, -0.0}, {-infinity, 5}});
    EXPECT_FALSE(compared(samples, samples).differs());
}

TEST(CompareExactlyTest, oneBitIsADifference) {
    const double next = std::nextafter(2.0, 3.0);
    const Comparison result = compared(scalar({{0, 1}, {1, 2}}), scalar({{0, 1}, {1, next}}));
    EXPECT_EQ(result.worst.first.value().time, 1);
    EXPECT_EQ(result.worst.first.value().stepA, 1U);
    EXPECT_EQ(result.worst.first.value().stepB, 1U);
    EXPECT_EQ(result.worst.largest, next - 2);
    EXPECT_EQ(result.worst.share, 0.5);
    EXPECT_FALSE(result.hasTimeDifference);
}

TEST(CompareExactlyTest, signOfZeroIsADifference) {
    const Comparison result = compared(scalar({{0, 0.0}}), scalar({{0, -0.0}}));
    EXPECT_TRUE(result.differs());
    EXPECT_EQ(result.worst.largest, 0);
}

TEST(CompareExactlyTest, otherTimeIsADifference) {
    const Comparison result = compared(scalar({{0, 1}, {1, 2}}), scalar({{0, 1}, {1.5, 2}}));
    EXPECT_TRUE(result.differs());
    EXPECT_TRUE(result.hasTimeDifference);
    EXPECT_EQ(result.worst.first.value().time, 1);
}

TEST(CompareExactlyTest, additionalStepIsADifference) {
    const Comparison result = compared(scalar({{0, 1}}), scalar({{0, 1}, {1, 2}}));
    EXPECT_EQ(result.worst.first.value().time, 1);
    EXPECT_EQ(result.worst.first.value().stepA, std::nullopt);
    EXPECT_EQ(result.worst.first.value().stepB, 1U);
    EXPECT_EQ(result.a.stepCount, 1U);
    EXPECT_EQ(result.b.stepCount, 2U);
}

TEST(CompareExactlyTest, nanAndInfinitiesAreFarFromNumbers) {
    EXPECT_TRUE(compared(scalar({{0, 1}}), scalar({{0, nan}})).worst.hasNanDifference);
    EXPECT_EQ(compared(scalar({{0, 1}}), scalar({{0, infinity}})).worst.largest, infinity);
}

} // namespace
} // namespace logging2::tools
