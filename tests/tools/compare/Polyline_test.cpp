#include <tests/tools/compare/VectorSource.hpp>
#include <tools/compare/Polyline.hpp>

#include <gtest/gtest.h>

#include <limits>

namespace logging2::tools {
namespace {

/// The values at the present time.
std::vector<double> values_of(const Polyline& curve) {
    std::vector<double> result;
    for (std::size_t index = 0; index < curve.valueCount(); ++index) {
        result.push_back(curve.value(index, 0));
    }
    return result;
}

TEST(PolylineTest, pointsAreJoinedByStraightLines) {
    VectorSource source(scalar({{0, 1}, {2, 3}, {2, 7}}));
    Polyline curve(source, {1, false, 0});
    curve.moveTo(-1);
    EXPECT_EQ(values_of(curve), std::vector<double>());
    curve.moveTo(0.5);
    EXPECT_EQ(values_of(curve), std::vector<double>({1.5}));
    curve.moveTo(2);
    EXPECT_EQ(values_of(curve), std::vector<double>({3, 7}));
    curve.moveTo(2.5);
    EXPECT_EQ(values_of(curve), std::vector<double>());
}

TEST(PolylineTest, heldValueStepsAtTheNextSample) {
    VectorSource source(scalar({{0, 1}, {2, 3}, {4, 3}}));
    Polyline curve(source, {1, true, 0});
    curve.moveTo(1);
    EXPECT_EQ(values_of(curve), std::vector<double>({1}));
    EXPECT_EQ(curve.step(0), 0U);
    curve.moveTo(2);
    EXPECT_EQ(values_of(curve), std::vector<double>({1, 3}));
    EXPECT_EQ(curve.step(0), 0U);
    EXPECT_EQ(curve.step(1), 1U);
}

TEST(PolylineTest, windowHasInterpolatedEdges) {
    VectorSource source(scalar({{0, 0}, {1, 8}, {2, 0}, {10, 8}}));
    Polyline curve(source, {1, false, 1});
    curve.moveTo(0.25);
    EXPECT_EQ(curve.deviationOf(10, 0), 2); // 8 at time 1
    curve.moveTo(3);
    EXPECT_EQ(curve.deviationOf(10, 0), 8); // 2 at time 4
    EXPECT_EQ(curve.deviationOf(-1, 0), 1); // 0 at time 2
    curve.moveTo(6);
    EXPECT_EQ(curve.deviationOf(0, 0), 3); // 3 at time 5
    curve.moveTo(11);
    EXPECT_EQ(curve.deviationOf(0, 0), 8); // 8 at time 10
    curve.moveTo(11.5);
    EXPECT_EQ(curve.deviationOf(0, 0), std::nullopt);
}

TEST(PolylineTest, nextTimeIsThatOfTheNextPoint) {
    VectorSource source(scalar({{0, 0}, {1, 8}, {1, 0}, {3, 8}}));
    Polyline curve(source, {1, false, 5});
    EXPECT_EQ(curve.nextTime(), 0);
    curve.moveTo(0);
    EXPECT_EQ(curve.nextTime(), 1);
    EXPECT_EQ(curve.lastStep(), 0U);
    curve.moveTo(1);
    EXPECT_EQ(curve.nextTime(), 3);
    EXPECT_EQ(curve.lastStep(), 2U);
    curve.moveTo(3);
    EXPECT_EQ(curve.nextTime(), std::numeric_limits<double>::infinity());
}

} // namespace
} // namespace logging2::tools
