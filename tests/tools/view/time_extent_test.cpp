#include <tests/tools/view/PlainRun.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/view/time_extent.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <tuple>

namespace logging2::tools::view {
namespace {

using Doubles = std::vector<double>;

constexpr double noTime = std::numeric_limits<double>::quiet_NaN();
constexpr double greatestTime = std::numeric_limits<double>::max();

core::GroupInfo group_of(const Doubles& times) {
    core::GroupInfo group{7, times.size(), {}, {}};
    if (!times.empty()) {
        group.firstTime = times.front();
        group.lastTime = times.back();
    }
    return group;
}

/// That of a group with a signal; it must be that of one without.
std::optional<TimeExtent> extent_of(const Doubles& times) {
    const PlainRun run(times, Doubles(times.size()));
    const core::SignalInfo signal = run.signals().front();
    const auto extent = time_extent(run, group_of(times), &signal);
    const auto searched = time_extent(run, group_of(times), nullptr);
    EXPECT_EQ(extent.has_value(), searched.has_value());
    if (extent && searched) {
        EXPECT_EQ(extent->least, searched->least);
        EXPECT_EQ(extent->greatest, searched->greatest);
    }
    return extent;
}

TEST(TimeExtentTest, leastAndGreatestFiniteTimesAreFound) {
    const std::vector<std::pair<Doubles, std::pair<double, double>>> cases{
        {{0, 1, 10}, {0, 10}},
        {{5}, {5, 5}},
        {{0, 10, 5}, {0, 10}},
        {{10, 5, -3}, {-3, 10}},
        {{0, 10, noTime}, {0, 10}},
        {{noTime, 1, 2}, {1, 2}},
        {{0, 10, infinity}, {0, 10}},
        {{-infinity, -2, -1, noTime, infinity}, {-2, -1}},
        {{-greatestTime, 0, greatestTime}, {-greatestTime, greatestTime}},
        {{1e-320, 0, -1e-320}, {-1e-320, 1e-320}}};
    for (const auto& [times, expected] : cases) {
        const std::optional<TimeExtent> extent = extent_of(times);
        ASSERT_TRUE(extent) << ::testing::PrintToString(times);
        EXPECT_EQ(extent->least, expected.first) << ::testing::PrintToString(times);
        EXPECT_EQ(extent->greatest, expected.second) << ::testing::PrintToString(times);
    }
}

TEST(TimeExtentTest, groupWithoutFiniteTimeHasNone) {
    for (const Doubles& times :
         {Doubles(), Doubles{noTime}, Doubles{-infinity, infinity, noTime}}) {
        EXPECT_FALSE(extent_of(times)) << ::testing::PrintToString(times);
    }
}

TEST(TimeExtentTest, finiteTimesAreNeitherReadNorSearched) {
    Doubles times;
    for (int step = 0; step < 1000; ++step) {
        times.push_back(step % 10);
    }
    const PlainRun run(times, Doubles(times.size()));
    const core::SignalInfo signal = run.signals().front();
    const auto extent = time_extent(run, group_of(times), &signal);
    ASSERT_TRUE(extent);
    EXPECT_EQ(extent->greatest, 9);
    EXPECT_EQ(run.readCount, 0U);
    EXPECT_EQ(run.searchCount, 0U);
}

TEST(TimeExtentsTest, stepsThatWereAddedNeedNoSummary) {
    TimeExtents extents;
    Doubles times{5, 7};
    const auto look = [&extents, &times](std::uint64_t revision) {
        const PlainRun run(times, Doubles(times.size()));
        const core::SignalInfo signal = run.signals().front();
        const auto extent = extents.of(run, revision, group_of(times), &signal);
        EXPECT_TRUE(extent);
        return std::tuple(extent->least, extent->greatest, run.summaryCount, run.readCount);
    };
    EXPECT_EQ(look(1), std::tuple(5, 7, 1U, 0U));
    EXPECT_EQ(look(1), std::tuple(5, 7, 0U, 0U));
    times.insert(times.end(), {noTime, infinity, 9, 3});
    EXPECT_EQ(look(1), std::tuple(3, 9, 0U, 1U));
    times = {5, 6, 6, 6, 6, 6, 6};
    EXPECT_EQ(look(2), std::tuple(5, 6, 1U, 0U));
    times.resize(2'000'000, 8);
    EXPECT_EQ(look(2), std::tuple(5, 8, 1U, 0U));
}

TEST(TimeExtentTest, narrowestSignalOfEachGroupIsFound) {
    const std::vector<core::SignalInfo> signals{{lang::core::ValuePath("a"), 1, 0, 3},
                                                {lang::core::ValuePath("b"), 1, 1, 1},
                                                {lang::core::ValuePath("c"), 1, 2, 2},
                                                {lang::core::ValuePath("d"), 4, 0, 5}};
    const auto narrowest = narrowest_signals(signals);
    ASSERT_EQ(narrowest.size(), 2U);
    EXPECT_EQ(narrowest.at(1), &signals[1]);
    EXPECT_EQ(narrowest.at(4), &signals[3]);
}

TEST(TimeExtentTest, anyOrderOfTimesGivesTheSame) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        Doubles times;
        for (auto count = 1 + random() % 10; count > 0; --count) {
            times.push_back(std::ldexp(static_cast<double>(random()) - 2e9,
                                       static_cast<int>(random() % 600) - 300));
        }
        const std::optional<TimeExtent> extent = extent_of(times);
        ASSERT_TRUE(extent);
        EXPECT_EQ(extent->least, *std::min_element(times.begin(), times.end()));
        EXPECT_EQ(extent->greatest, *std::max_element(times.begin(), times.end()));
    }
}

} // namespace
} // namespace logging2::tools::view
