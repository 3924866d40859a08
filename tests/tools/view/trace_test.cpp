#include <tests/tools/view/PlainRun.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/trace.hpp>

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>

namespace logging2::tools::view {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using Doubles = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t headByteCount = 64;

std::vector<std::pair<double, double>> steps_of(const Trace& trace) {
    std::vector<std::pair<double, double>> result;
    for (const Neighbour& step : trace.steps) {
        result.emplace_back(step.time, step.value);
    }
    return result;
}

double double_at(const std::string& bytes, std::size_t place) {
    double value = 0;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

std::uint32_t number_at(const std::string& bytes, std::size_t place) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

TEST(AlignedRangeTest, pixelsBeginAtMultiplesOfTheirLength) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> number(-1, 1);
    for (int round = 0; round < 10'000; ++round) {
        const double from = std::ldexp(number(random), round % 60 - 30);
        const double to = from + std::ldexp(std::abs(number(random)), round % 50 - 25) + 1e-12;
        const std::size_t pixels = 1 + random() % 3000;
        const TraceRange range = aligned_range({from, to, pixels});
        ASSERT_LE(range.from, from);
        ASSERT_GE(range.to, to);
        ASSERT_LE(range.pixels, pixels + 2);
    }
}

TEST(AlignedRangeTest, movedRangeHasTheSamePixels) {
    const TraceRange range = aligned_range({10.0, 17.0, 100});
    const double length = (range.to - range.from) / static_cast<double>(range.pixels);
    for (const double shift : {0.01, 0.3, 1.7, 1234.567}) {
        const TraceRange moved = aligned_range({10.0 + shift, 17.0 + shift, 100});
        const double pixels = (moved.from - range.from) / length;
        EXPECT_EQ(pixels, std::round(pixels)) << shift;
        EXPECT_EQ((moved.to - moved.from) / static_cast<double>(moved.pixels), length) << shift;
    }
}

TEST(AlignedRangeTest, rangeThatCannotBeAlignedStaysAsItIs) {
    for (const auto& [from, to] :
         {std::pair(5.0, 5.0), std::pair(-1.7e308, 1.7e308), std::pair(0.0, 5e-324)}) {
        const TraceRange range = aligned_range({from, to, 1000});
        EXPECT_EQ(range.from, from);
        EXPECT_EQ(range.to, to);
        EXPECT_EQ(range.pixels, 1000U);
    }
}

TEST(TraceTest, fewStepsAreSentThemselves) {
    const Trace trace = trace_of(run_of_steps(10), "x", 0, {2.0, 4.0, 100});
    EXPECT_FALSE(trace.isAggregate);
    EXPECT_THAT(steps_of(trace), ElementsAre(Pair(2, 20), Pair(3, 30), Pair(4, 40)));
    EXPECT_EQ(trace.stepCount, 3U);
    EXPECT_EQ(trace.revision, 3U);
}

TEST(TraceTest, neighboursAreTheStepsJustOutside) {
    const PlainRun run = run_of_steps(10);
    const Trace inside = trace_of(run, "x", 0, {2.0, 4.0, 100});
    EXPECT_EQ(inside.before.time, 1.0);
    EXPECT_EQ(inside.before.value, 10.0);
    EXPECT_EQ(inside.after.time, 5.0);
    EXPECT_EQ(inside.after.value, 50.0);
    const Trace between = trace_of(run, "x", 0, {2.25, 2.5, 10});
    EXPECT_THAT(steps_of(between), ElementsAre());
    EXPECT_EQ(between.before.time, 2.0);
    EXPECT_EQ(between.after.time, 3.0);
    const Trace whole = trace_of(run, "x", 0, {-1.0, 20.0, 100});
    EXPECT_TRUE(std::isnan(whole.before.time));
    EXPECT_TRUE(std::isnan(whole.after.time));
}

TEST(TraceTest, fourStepsPerPixelAreAnAggregate) {
    const PlainRun run = run_of_steps(64);
    EXPECT_FALSE(trace_of(run, "x", 0, {0.0, 63.0, 32}).isAggregate);
    const Trace trace = trace_of(run, "x", 0, {0.0, 64.0, 16});
    EXPECT_TRUE(trace.isAggregate);
    ASSERT_EQ(trace.outline.size(), 16U);
    EXPECT_EQ(trace.outline[1].first, 40.0);
    EXPECT_EQ(trace.outline[1].last, 70.0);
    EXPECT_EQ(trace.stepCount, 64U);
}

TEST(TraceTest, emptyPixelsAreLeftOut) {
    Doubles times(1000, 0.0);
    times.resize(2000, 100.0);
    const Trace trace = trace_of(PlainRun(times, Doubles(2000, 1.0)), "x", 0, {0.0, 100.0, 100});
    EXPECT_TRUE(trace.isAggregate);
    EXPECT_EQ(trace.outline.size(), 2U);
}

TEST(TraceTest, stepsBetweenThoseInTheRangeAreSent) {
    const PlainRun run({1.0, 9.0, nan, 2.0, 0.0}, {1.0, 2.0, 3.0, 4.0, 5.0});
    const Trace trace = trace_of(run, "x", 0, {1.0, 2.0, 10});
    EXPECT_THAT(steps_of(trace), ElementsAre(Pair(1.0, 1.0), Pair(9.0, 2.0), Pair(2.0, 4.0)));
    EXPECT_EQ(trace.stepCount, 2U);
    EXPECT_EQ(trace.after.time, 0.0);
}

TEST(TraceTest, neighboursAreTheStepsLoggedBeforeAndAfter) {
    const PlainRun run({0.0, 10.0, 5.0}, {1.0, 2.0, 3.0});
    const Trace inside = trace_of(run, "x", 0, {4.0, 6.0, 10});
    EXPECT_EQ(inside.before.time, 10.0);
    EXPECT_TRUE(std::isnan(inside.after.time));
    const Trace between = trace_of(run, "x", 0, {1.0, 2.0, 10});
    EXPECT_EQ(between.before.time, 0.0);
    EXPECT_EQ(between.after.time, 10.0);
}

TEST(TraceTest, neighboursAreFoundBesideStepsWithoutTime) {
    const PlainRun run({0.0, nan, 1.0, nan, 2.0}, {1.0, 2.0, 3.0, 4.0, 5.0});
    const Trace trace = trace_of(run, "x", 0, {0.75, 1.25, 10});
    EXPECT_EQ(trace.before.time, 0.0);
    EXPECT_EQ(trace.after.time, 2.0);
    EXPECT_EQ(trace.after.value, 5.0);
}

TEST(TraceTest, aggregateHasNoNeighboursAtTheWrongSide) {
    const PlainRun run({9.0, 1.0, 1.0, 1.0, 1.0, 0.0}, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
    const Trace trace = trace_of(run, "x", 0, {1.0, 1.0, 1});
    EXPECT_TRUE(trace.isAggregate);
    EXPECT_TRUE(std::isnan(trace.before.time));
    EXPECT_TRUE(std::isnan(trace.after.time));
}

TEST(TraceTest, neighboursOfRandomTimesAreLoggedBesideThoseSent) {
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        Doubles times;
        for (auto count = random() % 8; count > 0; --count) {
            times.push_back(random() % 7 == 0 ? nan : static_cast<double>(random() % 10));
        }
        Doubles numbers(times.size());
        std::iota(numbers.begin(), numbers.end(), 0.0);
        const double from = static_cast<double>(random() % 10) - 0.25;
        const Trace trace = trace_of(PlainRun(times, numbers), "x", 0, {from, from + 2.5, 100});
        // What is drawn are pieces of the run: consecutive steps apart from those without a time.
        std::vector<Neighbour> drawn{trace.before};
        drawn.insert(drawn.end(), trace.steps.begin(), trace.steps.end());
        drawn.push_back(trace.after);
        double last = -1;
        for (const Neighbour& step : drawn) {
            if (std::isnan(step.time)) {
                continue;
            }
            for (double between = last + 1; last >= 0 && between < step.value; ++between) {
                EXPECT_TRUE(std::isnan(times[static_cast<std::size_t>(between)])) << round;
            }
            EXPECT_GT(step.value, last);
            last = step.value;
        }
    }
}

TEST(TraceTest, elementsAreSeparate) {
    const PlainRun run({0.0, 1.0}, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0}, 3);
    EXPECT_THAT(steps_of(trace_of(run, "x", 2, {0.0, 1.0, 10})),
                ElementsAre(Pair(0.0, 3.0), Pair(1.0, 6.0)));
    EXPECT_THROW(trace_of(run, "x", 3, {0.0, 1.0, 10}), HttpError);
    EXPECT_THROW(trace_of(run, "y", 0, {0.0, 1.0, 10}), HttpError);
}

TEST(TraceTest, answersAreLimited) {
    for (const std::size_t count : {11'990UL, 12'000UL, 13'000UL, 100'000UL}) {
        const double end = static_cast<double>(count);
        const Trace trace =
            trace_of(run_of_steps(count), "x", 0, {0.0, end, greatestTracePixelCount});
        EXPECT_EQ(trace.isAggregate, count >= 12'000);
        EXPECT_LE(trace_bytes(trace).size(), 200'000U);
    }
}

TEST(TraceTest, aggregateReadsNoSteps) {
    const PlainRun run = run_of_steps(100'000);
    trace_of(run, "x", 0, {10.0, 99'000.0, 100});
    EXPECT_LE(run.readCount, 2U);
    EXPECT_EQ(run.summaryCount, 0U);
}

TEST(TraceBytesTest, stepsHaveTheirPlaces) {
    const std::string bytes = trace_bytes(trace_of(run_of_steps(3), "x", 0, {0.5, 2.0, 3}));
    EXPECT_EQ(bytes.substr(0, 8), "L2TRACE1");
    EXPECT_EQ(number_at(bytes, 8), 3U);
    EXPECT_EQ(number_at(bytes, 16), 0U);
    EXPECT_EQ(number_at(bytes, 20), 2U);
    EXPECT_EQ(number_at(bytes, 24), 2U);
    EXPECT_EQ(double_at(bytes, 32), 0.0);
    EXPECT_TRUE(std::isnan(double_at(bytes, 48)));
    ASSERT_EQ(bytes.size(), headByteCount + 4 * sizeof(double));
    EXPECT_EQ(double_at(bytes, headByteCount + 8), 2.0);
    EXPECT_EQ(double_at(bytes, headByteCount + 24), 20.0);
}

TEST(TraceBytesTest, bucketsHaveTheirPlaces) {
    const PlainRun run({0, 0, 0, 0, 0}, {4.0, infinity, -1.0, nan, 2.0});
    const std::string bytes = trace_bytes(trace_of(run, "x", 0, {0.0, 0.0, 1}));
    EXPECT_EQ(number_at(bytes, 16), 1U);
    ASSERT_EQ(number_at(bytes, 20), 1U);
    Doubles numbers;
    for (std::size_t place = headByteCount; place < bytes.size(); place += sizeof(double)) {
        numbers.push_back(double_at(bytes, place));
    }
    EXPECT_THAT(numbers, ElementsAre(0.0, 0.0, 4.0, -1.0, 4.0, 2.0, 3.0));
}

TEST(TraceBytesTest, bucketWithoutFiniteNumberHasNaN) {
    const PlainRun run(Doubles(4, 1.0), Doubles(4, -infinity));
    const std::string bytes = trace_bytes(trace_of(run, "x", 0, {1.0, 1.0, 1}));
    EXPECT_TRUE(std::isnan(double_at(bytes, headByteCount + 24)));
    EXPECT_TRUE(std::isnan(double_at(bytes, headByteCount + 32)));
    EXPECT_EQ(double_at(bytes, headByteCount + 48), 4.0);
}

} // namespace
} // namespace logging2::tools::view
