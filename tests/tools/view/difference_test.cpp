#include <tests/tools/view/PlainRun.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/difference.hpp>

#include <gmock/gmock.h>

#include <numeric>

namespace logging2::tools::view {
namespace {

using Doubles = std::vector<double>;

DifferenceQuestion question(double from, double to, double absolute, double shift = 0,
                            double time = 0) {
    return {"x", 0, {from, to, 4}, shift, {absolute, 0, time}};
}

const Doubles fiveTimes{0.0, 1.0, 2.0, 3.0, 4.0};

TEST(DifferenceTest, sameRunsDoNotDiffer) {
    const PlainRun run(fiveTimes, {0.0, 1.0, 0.0, 1.0, 0.0});
    const Json answer = difference_between(run, run, question(0, 4, 0));
    EXPECT_EQ(answer.at("same"), true);
    EXPECT_EQ(answer.at("maximum"), 0.0);
    EXPECT_EQ(answer.at("intervals"), Json::array());
    EXPECT_EQ(answer.at("more"), false);
}

TEST(DifferenceTest, intervalsAreWhereTheRunsLieApart) {
    const PlainRun a(fiveTimes, {0.0, 0.0, 0.0, 0.0, 0.0});
    const PlainRun b(fiveTimes, {0.0, 0.0, 2.0, 0.0, 0.0});
    const Json answer = difference_between(a, b, question(0, 4, 1));
    EXPECT_EQ(answer.at("same"), false);
    EXPECT_EQ(answer.at("maximum"), 2.0);
    EXPECT_EQ(answer.at("at"), 2.0);
    EXPECT_EQ(answer.at("outside"), 0.25);
    EXPECT_EQ(answer.at("intervals"), (Json{{1.5, 2.5}}));
}

TEST(DifferenceTest, onlyTheRangeIsCompared) {
    const PlainRun a(fiveTimes, {0.0, 0.0, 0.0, 0.0, 0.0});
    const PlainRun b(fiveTimes, {0.0, 0.0, 0.0, 0.0, 5.0});
    EXPECT_EQ(difference_between(a, b, question(0, 3, 0)).at("same"), true);
    EXPECT_EQ(difference_between(a, b, question(0, 4, 0)).at("same"), false);
}

TEST(DifferenceTest, timesOfTheSecondRunAreShifted) {
    const PlainRun a(fiveTimes, {0.0, 1.0, 4.0, 9.0, 16.0});
    const PlainRun b({10.0, 11.0, 12.0, 13.0, 14.0}, {0.0, 1.0, 4.0, 9.0, 16.0});
    EXPECT_EQ(difference_between(a, b, question(0, 4, 0, -10)).at("same"), true);
    EXPECT_EQ(difference_between(a, b, question(0, 4, 0)).at("same"), false);
}

TEST(DifferenceTest, tubeReachesAroundTheFirstRun) {
    const PlainRun a(fiveTimes, {0.0, 1.0, 2.0, 3.0, 4.0});
    const Json tube = difference_between(a, a, question(0, 4, 0.5)).at("tube");
    EXPECT_EQ(tube.at("times"), (Json{0.5, 1.5, 2.5, 3.5}));
    EXPECT_EQ(tube.at("low"), (Json{-0.5, 0.5, 1.5, 2.5}));
    EXPECT_EQ(tube.at("high"), (Json{1.5, 2.5, 3.5, 4.5}));
    const Json wide = difference_between(a, a, question(0, 4, 0, 0, 0.5)).at("tube");
    EXPECT_EQ(wide.at("low"), (Json{0.0, 0.5, 1.5, 2.5}));
    EXPECT_EQ(wide.at("high"), (Json{1.5, 2.5, 3.5, 4.0}));
}

TEST(DifferenceTest, timesThatDescendAreComparedStepByStep) {
    const PlainRun a({0.0, 2.0, 1.0}, {1.0, 2.0, 3.0});
    const PlainRun b({0.0, 2.0, 1.0}, {1.0, 2.0, 4.0});
    EXPECT_EQ(difference_between(a, a, question(0, 2, 0)).at("same"), true);
    const Json answer = difference_between(a, b, question(0, 2, 0));
    EXPECT_EQ(answer.at("same"), false);
    EXPECT_EQ(answer.at("intervals"), (Json{{1.0, 1.0}}));
    EXPECT_EQ(answer.at("tube").at("times"), Json::array());
}

TEST(DifferenceTest, tooManyStepsAreRefused) {
    const PlainRun run = run_of_steps(1'000'001);
    EXPECT_EQ(difference_between(run, run, question(0, 1000, 0)).at("same"), true);
    try {
        difference_between(run, run, question(0, 2e6, 0));
        FAIL() << "it is not refused";
    } catch (const HttpError& error) {
        EXPECT_EQ(error.status(), 422);
        EXPECT_THAT(error.what(), ::testing::HasSubstr("Zoom in to compare: 2,000,002 steps"));
    }
}

TEST(DifferenceTest, relativeToleranceOfManyStepsNeedsFiniteValues) {
    Doubles times(2'000'001);
    std::iota(times.begin(), times.end(), 0.0);
    Doubles values(times.size(), 1.0);
    values.front() = infinity;
    const PlainRun run(times, values);
    DifferenceQuestion asked = question(5, 9, 1);
    EXPECT_EQ(difference_between(run, run, asked).at("same"), true);
    asked.tolerance.relative = 0.1;
    try {
        difference_between(run, run, asked);
        FAIL() << "it is not refused";
    } catch (const HttpError& error) {
        EXPECT_EQ(error.status(), 422);
        EXPECT_THAT(error.what(), ::testing::HasSubstr("relative tolerance: set that to 0"));
    }
}

TEST(DifferenceTest, manyIntervalsAreCutOff) {
    Doubles values;
    for (int step = 0; step < 4004; ++step) {
        values.push_back(step % 4 == 0 ? 1.0 : 0.0);
    }
    Doubles times(values.size());
    for (std::size_t step = 0; step < times.size(); ++step) {
        times[step] = static_cast<double>(step);
    }
    const Json answer = difference_between(PlainRun(times, Doubles(times.size(), 0.0)),
                                           PlainRun(times, values), question(0, 5000, 0.25));
    EXPECT_EQ(answer.at("intervals").size(), 1000U);
    EXPECT_EQ(answer.at("more"), true);
}

} // namespace
} // namespace logging2::tools::view
