#include <examples/simulate/models/Lorenz.hpp>
#include <tests/integration/support/runs.hpp>

#include <gtest/gtest.h>

#include <array>

namespace {

using integration::LoggedRun;
using simulate::Lorenz;
using State = std::array<double, 3>;

State slope(const State& x) {
    return {10 * (x[1] - x[0]), x[0] * (28 - x[2]) - x[1], x[0] * x[1] - 8 * x[2] / 3};
}

State moved(const State& x, const State& direction, double length) {
    return {x[0] + length * direction[0], x[1] + length * direction[1],
            x[2] + length * direction[2]};
}

/// The classical Runge-Kutta method with small fixed steps. It uses nothing of the host's solver.
State reference(double time) {
    constexpr int stepCount = 20000;
    const double h = time / stepCount;
    State x{1, 1, 1};
    for (int step = 0; step < stepCount; ++step) {
        const State a = slope(x);
        const State b = slope(moved(x, a, h / 2));
        const State c = slope(moved(x, b, h / 2));
        const State d = slope(moved(x, c, h));
        x = moved(moved(moved(moved(x, a, h / 6), b, h / 3), c, h / 3), d, h / 6);
    }
    return x;
}

TEST(LorenzTest, samplesHoldTheThreeComponentsInOrder) {
    const LoggedRun run = integration::run_model(Lorenz(), 2, 1e-11);
    const auto& values = integration::values_of(run, "lorenz.state");
    const std::size_t sampleCount = run.groups[0].times.size();
    ASSERT_EQ(values.size(), 3 * sampleCount);
    EXPECT_EQ(std::vector<double>(values.begin(), values.begin() + 3),
              (std::vector<double>{1, 1, 1}));
    const State expected = reference(2);
    for (std::size_t component = 0; component < 3; ++component) {
        EXPECT_NEAR(values[3 * (sampleCount - 1) + component], expected[component], 1e-7);
    }
}

TEST(LorenzTest, timesStrictlyIncreaseFromZeroToTheStopTime) {
    const LoggedRun run = integration::run_model(Lorenz(), 50);
    const auto& times = run.groups[0].times;
    EXPECT_EQ(times.front(), 0);
    EXPECT_EQ(times.back(), 50);
    for (std::size_t k = 1; k < times.size(); ++k) {
        ASSERT_GT(times[k], times[k - 1]);
    }
    EXPECT_EQ(run.counts.logged, times.size());
}

TEST(LorenzTest, tighterToleranceTakesMoreSteps) {
    const std::size_t coarse = integration::run_model(Lorenz(), 10, 1e-6).counts.logged;
    const std::size_t fine = integration::run_model(Lorenz(), 10, 1e-12).counts.logged;
    EXPECT_GT(fine, 5 * coarse);
}

TEST(LorenzTest, longRunGivesManyRows) {
    EXPECT_GT(integration::run_model(Lorenz(), 500).counts.logged, 50000u);
}

} // namespace
