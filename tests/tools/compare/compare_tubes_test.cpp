#include <tests/support/nan.hpp>
#include <tests/tools/compare/VectorSource.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/compare/compare_tubes.hpp>

#include <gtest/gtest.h>

#include <cmath>

namespace logging2::tools {
namespace {

TubeSettings tube(double allowed, double timeTolerance = 0) {
    TubeSettings settings;
    settings.allowed = {allowed};
    settings.timeTolerance = timeTolerance;
    return settings;
}

TubeSettings held(TubeSettings settings) {
    settings.holds = true;
    return settings;
}

Comparison compared(const TestSamples& a, const TestSamples& b, const TubeSettings& settings) {
    VectorSource sourceA(a);
    VectorSource sourceB(b);
    return compare_tubes(sourceA, sourceB, settings).value();
}

/// Whether the signals differ, which must not depend on their order.
bool differ(const TestSamples& a, const TestSamples& b, const TubeSettings& settings) {
    const bool result = compared(a, b, settings).differs();
    EXPECT_EQ(compared(b, a, settings).differs(), result);
    return result;
}

bool has_order(const TestSamples& samples) {
    VectorSource a(samples);
    VectorSource b(samples);
    return compare_tubes(a, b, tube(0)).has_value();
}

const TestSamples ramp = scalar({{0, 0}, {1, 1}, {2, 2}, {3, 3}});
const TestSamples flat = scalar({{0, 0}, {10, 0}});
const TestSamples spike = scalar({{0, 0}, {4, 0}, {5, 1}, {6, 0}, {10, 0}});
/// Falls from 1 to 0 at time 1.
const TestSamples event = scalar({{0, 1}, {1, 1}, {1, 0}, {2, 0}});

TEST(CompareTubesTest, signalIsTheSameAsItself) {
    const TestSamples samples = scalar({{0, nan},
                                        {1, infinity},
                                        {1, 3},
                                        {1, -infinity},
                                        {2, 0.1},
                                        {2.5, nan},
                                        {4, 0.3},
                                        {4, 0.3},
                                        {7, -0.0}});
    for (const double timeTolerance : {0.0, 0.1, 1.0, 100.0}) {
        EXPECT_FALSE(differ(samples, samples, tube(0, timeTolerance)));
        EXPECT_FALSE(differ(samples, samples, held(tube(0, timeTolerance))));
    }
}

TEST(CompareTubesTest, deviationUpToTheToleranceIsAllowed) {
    const TestSamples other = scalar({{0, 0.25}, {1, 1.25}, {2, 2.25}, {3, 3.25}});
    EXPECT_FALSE(differ(ramp, other, tube(0.25)));
    EXPECT_TRUE(differ(ramp, other, tube(0.2499)));
}

TEST(CompareTubesTest, firstAndLargestDeviationAndShareAreFound) {
    const TestSamples other = scalar({{0, 0}, {1, 1.5}, {2, 4}, {3, 3}});
    const Comparison result = compared(ramp, other, tube(0.4));
    EXPECT_EQ(result.worst.first.value().time, 1);
    EXPECT_EQ(result.worst.first.value().stepA, 1U);
    EXPECT_EQ(result.worst.first.value().stepB, 1U);
    EXPECT_EQ(result.worst.largest, 2);
    EXPECT_EQ(result.worst.at, 2);
    EXPECT_DOUBLE_EQ(result.worst.share, 2.0 / 3);
}

TEST(CompareTubesTest, shareEndsWhereTheLinesLeaveTheTube) {
    const TestSamples rising = scalar({{0, 0}, {1, 1}});
    const TestSamples level = scalar({{0, 0}, {1, 0}});
    for (const double allowed : {0.4, 0.5, 0.6, 0.9}) {
        EXPECT_NEAR(compared(rising, level, tube(allowed)).worst.share, 1 - allowed, 1e-15);
    }
    const TestSamples crossing = scalar({{0, -1}, {1, 1}});
    EXPECT_DOUBLE_EQ(compared(crossing, level, tube(0.75)).worst.share, 0.25);
}

TEST(CompareTubesTest, shareEndsWhereALineLeavesAWindowsTube) {
    const TestSamples rising = scalar({{0, 0}, {10, 10}});
    // The level is outside the tube of the other one from 3 on, and the other one from 2 on.
    EXPECT_DOUBLE_EQ(compared(flat, rising, tube(2, 1)).worst.share, 0.8);
    // The spike of the height 1 at 5 rises within a second, and is seen a quarter earlier.
    EXPECT_DOUBLE_EQ(compared(flat, spike, tube(0.5, 0.25)).worst.share, 0.1);
    // The peak's level is outside from the time when its window has the lower level only.
    const TestSamples late = scalar({{0, 0}, {6, 0}, {6, 1}, {10, 1}});
    const TestSamples early = scalar({{0, 0}, {4, 0}, {4, 1}, {10, 1}});
    EXPECT_DOUBLE_EQ(compared(early, late, tube(0.5, 0.5)).worst.share, 0.2);
}

TEST(CompareTubesTest, differenceBetweenSamplesThatAgreeIsFound) {
    // At 1, either value of B is among those of A.
    const TestSamples needle = scalar({{0, 0}, {1, 0}, {1, 1}, {2, 0}});
    const Comparison result =
        compared(needle, scalar({{0, 0}, {1, 0}, {1, 1}, {1, 0}, {2, 0}}), tube(0.75));
    EXPECT_TRUE(result.differs());
    EXPECT_EQ(result.worst.largest, 1);
    EXPECT_DOUBLE_EQ(result.worst.share, 0.125);
}

TEST(CompareTubesTest, firstDifferenceIsAtTheSampleRatherThanBefore) {
    const Comparison result = compared(ramp, scalar({{0, 0}, {1, 1}, {2, 3}, {3, 3}}), tube(0.25));
    EXPECT_EQ(result.worst.first.value().time, 2);
    EXPECT_EQ(result.worst.first.value().stepA, 2U);
}

TEST(CompareTubesTest, sparseSamplesOnTheLineAreTheSame) {
    EXPECT_FALSE(differ(ramp, scalar({{0, 0}, {3, 3}}), tube(0)));
    EXPECT_FALSE(differ(ramp, scalar({{0, 0}, {0.5, 0.5}, {2.5, 2.5}, {3, 3}}), tube(0)));
}

TEST(CompareTubesTest, missingSpikeDiffersOnEitherSide) {
    EXPECT_TRUE(differ(flat, spike, tube(0.5)));
    EXPECT_TRUE(differ(flat, spike, tube(0.5, 0.4)));
    EXPECT_FALSE(differ(flat, spike, tube(1)));
}

TEST(CompareTubesTest, underSampledPeakDiffers) {
    const TestSamples cut = scalar({{0, 0}, {4, 0}, {4.5, 0.5}, {5.5, 0.5}, {6, 0}, {10, 0}});
    const Comparison result = compared(spike, cut, tube(0.4));
    EXPECT_EQ(result.worst.largest, 0.5);
    EXPECT_EQ(result.worst.at, 5);
    EXPECT_TRUE(differ(spike, cut, tube(0.4)));
}

TEST(CompareTubesTest, spikeWithoutDurationDiffers) {
    const TestSamples needle = scalar({{0, 0}, {5, 0}, {5, 1}, {5, 0}, {10, 0}});
    EXPECT_TRUE(differ(flat, needle, tube(0.5)));
    EXPECT_EQ(compared(flat, needle, tube(0.5)).worst.share, 0);
}

TEST(CompareTubesTest, statesBeforeAndAfterAnEventAreBothCompared) {
    EXPECT_FALSE(differ(event, event, tube(0)));
    EXPECT_TRUE(differ(event, scalar({{0, 1}, {1, 1}, {2, 0}}), tube(0.1)));
    EXPECT_TRUE(differ(event, scalar({{0, 1}, {1, 0}, {2, 0}}), tube(0.1)));
    EXPECT_FALSE(differ(event, scalar({{0, 1}, {1, 1}, {1, 0.5}, {1, 0}, {2, 0}}), tube(0)));
}

TEST(CompareTubesTest, stepOfAnEventIsNamed) {
    const Comparison result =
        compared(event, scalar({{0, 1}, {1, 1}, {1, 0.5}, {2, 0.5}}), tube(0.1));
    EXPECT_EQ(result.worst.first.value().time, 1);
    EXPECT_EQ(result.worst.first.value().stepA, 2U);
}

TEST(CompareTubesTest, shiftedEventNeedsTheTimeTolerance) {
    const TestSamples later = scalar({{0, 1}, {1.125, 1}, {1.125, 0}, {2, 0}});
    EXPECT_FALSE(differ(event, later, tube(0, 0.125)));
    EXPECT_TRUE(differ(event, later, tube(0, 0.124)));
    EXPECT_TRUE(differ(event, later, tube(0.5)));
    EXPECT_EQ(compared(event, later, tube(0.5)).worst.share, 0.125 / 2);
}

TEST(CompareTubesTest, valuesOfTheSameEventInOppositeOrderDiffer) {
    const TestSamples low = scalar({{0, 0}, {0, 1}, {2, 1}, {2, 0}});
    const TestSamples high = scalar({{0, 1}, {0, 0}, {2, 0}, {2, 1}});
    EXPECT_TRUE(differ(low, high, tube(0.5)));
    EXPECT_EQ(compared(low, high, tube(0.5)).worst.share, 1);
}

TEST(CompareTubesTest, heldValueChangesWithTheNextSample) {
    const TestSamples coarse = scalar({{0, 1}, {2, 5}, {4, 5}});
    const TestSamples fine = scalar({{0, 1}, {1, 1}, {1.75, 1}, {2, 5}, {3, 5}, {4, 5}});
    EXPECT_FALSE(differ(coarse, fine, held(tube(0))));
    EXPECT_TRUE(differ(coarse, fine, tube(1)));
    const TestSamples early = scalar({{0, 1}, {1.75, 5}, {4, 5}});
    EXPECT_TRUE(differ(coarse, early, held(tube(0))));
    EXPECT_FALSE(differ(coarse, early, held(tube(0, 0.25))));
}

TEST(CompareTubesTest, nanMustBeAtTheSamePlace) {
    const TestSamples at1 = scalar({{0, 0}, {1, nan}, {2, 0}, {3, 0}});
    const TestSamples at2 = scalar({{0, 0}, {1, 0}, {2, nan}, {3, 0}});
    const TestSamples none = scalar({{0, 0}, {1, 0}, {2, 0}, {3, 0}});
    EXPECT_FALSE(differ(at1, at1, tube(0)));
    EXPECT_TRUE(differ(at1, at2, tube(1e300)));
    EXPECT_TRUE(differ(at1, none, tube(1e300)));
    const Comparison result = compared(at1, none, tube(1));
    EXPECT_TRUE(result.worst.hasNanDifference);
    EXPECT_EQ(result.worst.largest, 0);
    EXPECT_EQ(result.a.nanCount, 1U);
    EXPECT_EQ(result.b.nanCount, 0U);
}

TEST(CompareTubesTest, infinitiesMustBeEqual) {
    const auto with = [](double value) { return scalar({{0, 0}, {1, value}, {2, 0}}); };
    EXPECT_FALSE(differ(with(infinity), with(infinity), tube(0)));
    EXPECT_TRUE(differ(with(infinity), with(-infinity), tube(1e300)));
    EXPECT_TRUE(differ(with(infinity), with(1e308), tube(1e300)));
    EXPECT_TRUE(differ(with(infinity), with(nan), tube(1e300)));
    EXPECT_EQ(compared(with(infinity), with(5), tube(1)).worst.largest, infinity);
}

TEST(CompareTubesTest, missingEndAndBeginDiffer) {
    const TestSamples part = scalar({{0.5, 0}, {9, 0}});
    const Comparison result = compared(flat, part, tube(1));
    EXPECT_TRUE(result.differs());
    EXPECT_TRUE(result.hasTimeDifference);
    EXPECT_DOUBLE_EQ(result.worst.share, 0.15);
    EXPECT_TRUE(differ(flat, part, tube(1)));
    EXPECT_FALSE(differ(flat, part, tube(1, 1)));
}

TEST(CompareTubesTest, emptySignalDiffersFromOthersOnly) {
    EXPECT_FALSE(differ({}, {}, tube(0)));
    EXPECT_TRUE(differ({}, scalar({{1, 1}}), tube(0)));
    EXPECT_EQ(compared({}, scalar({{1, 1}}), tube(0)).worst.share, 1);
    EXPECT_FALSE(differ(scalar({{1, 1}}), scalar({{1, 1.5}}), tube(0.5)));
}

TEST(CompareTubesTest, onlyTheRangeIsCompared) {
    TubeSettings settings = tube(0.1);
    settings.from = 6.5;
    EXPECT_FALSE(differ(flat, spike, settings));
    settings.from = 5.25;
    settings.to = 5.75;
    const Comparison result = compared(flat, spike, settings);
    EXPECT_EQ(result.worst.largest, 0.75);
    EXPECT_EQ(result.worst.first.value().time, 5.25);
    EXPECT_EQ(result.worst.share, 1);
    EXPECT_EQ(result.b.stepCount, 0U);
}

TEST(CompareTubesTest, worstElementIsReported) {
    TubeSettings settings = tube(0);
    settings.allowed = {10, 1, 1};
    const Comparison result =
        compared({{0, {0, 0, 0}}, {1, {0, 0, 0}}}, {{0, {0, 0, 0}}, {1, {9, 2, 3}}}, settings);
    EXPECT_EQ(result.worst.element, 2U);
    EXPECT_EQ(result.worst.largest, 3);
    EXPECT_EQ(result.worst.allowed, 1);
}

TEST(CompareTubesTest, timesThatDoNotAscendAreNotCompared) {
    EXPECT_TRUE(has_order(scalar({{0, 0}, {0, 1}, {1, 0}})));
    EXPECT_FALSE(has_order(scalar({{0, 0}, {1, 1}, {0.5, 0}})));
    EXPECT_FALSE(has_order(scalar({{0, 0}, {nan, 1}, {1, 0}})));
    EXPECT_FALSE(has_order(scalar({{nan, 0}})));
    EXPECT_FALSE(has_order(scalar({{0, 0}, {infinity, 1}})));
}

} // namespace
} // namespace logging2::tools
