#include <examples/simulate/models/BouncingBall.hpp>
#include <tests/integration/support/runs.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using integration::LoggedRun;
using simulate::BouncingBall;

// A flight is a quadratic function, which the method solves without truncation error. What remains
// is round-off and, once per bounce, the 1e-12 s to which an impact is located.
constexpr double locationTolerance = 1e-12; // s
constexpr double bounceTolerance = 1e-10;   // s, m, m/s; 28 bounces

/// The closed form of the solution: the time of each impact and the rebound speed after it.
struct Bounce {
    double time;
    double rebound;
};

std::vector<Bounce> closed_form(std::size_t bounceCount) {
    const double g = BouncingBall::gravity;
    const double fall = std::sqrt(2 * BouncingBall::dropHeight / g);
    std::vector<Bounce> bounces{{fall, BouncingBall::restitution * g * fall}};
    while (bounces.size() < bounceCount) {
        const Bounce last = bounces.back();
        bounces.push_back(
            {last.time + 2 * last.rebound / g, BouncingBall::restitution * last.rebound});
    }
    return bounces;
}

LoggedRun full_ball_run() {
    return integration::run_model(BouncingBall(), 5);
}

TEST(BouncingBallTest, firstImpactIsLocatedToAPicosecond) {
    const LoggedRun run = full_ball_run();
    ASSERT_FALSE(run.events.empty());
    EXPECT_NEAR(run.events.front().time, closed_form(1).front().time, locationTolerance);
}

TEST(BouncingBallTest, impactsFollowTheClosedForm) {
    const LoggedRun run = full_ball_run();
    const auto bounces = closed_form(28);
    ASSERT_EQ(run.events.size(), bounces.size());
    for (std::size_t bounce = 0; bounce < bounces.size(); ++bounce) {
        EXPECT_NEAR(run.events[bounce].time, bounces[bounce].time, bounceTolerance) << bounce;
    }
}

TEST(BouncingBallTest, bothSidesOfAnImpactAreLogged) {
    const LoggedRun run = full_ball_run();
    const auto& times = run.groups[0].times;
    const auto& height = integration::values_of(run, "ball.height");
    const auto& velocity = integration::values_of(run, "ball.velocity");
    const auto bounces = closed_form(27);
    for (std::size_t bounce = 0; bounce < bounces.size(); ++bounce) {
        const auto [first, last] =
            std::equal_range(times.begin(), times.end(), run.events[bounce].time);
        ASSERT_EQ(last - first, 2) << bounce;
        const auto at = static_cast<std::size_t>(first - times.begin());
        EXPECT_EQ(height[at], 0);
        EXPECT_EQ(height[at + 1], 0);
        EXPECT_NEAR(velocity[at], -bounces[bounce].rebound / BouncingBall::restitution,
                    bounceTolerance);
        EXPECT_NEAR(velocity[at + 1], bounces[bounce].rebound, bounceTolerance);
    }
}

TEST(BouncingBallTest, everyFlightReachesTheExpectedHeight) {
    const LoggedRun run = full_ball_run();
    const auto& times = run.groups[0].times;
    const auto& height = integration::values_of(run, "ball.height");
    const auto& velocity = integration::values_of(run, "ball.velocity");
    const auto bounces = closed_form(28);
    std::size_t checked = 0;
    for (std::size_t k = 0; k < times.size() && times[k] < run.events.back().time; ++k) {
        const auto flight = std::find_if(bounces.rbegin(), bounces.rend(), [&](const Bounce& b) {
            return b.time + bounceTolerance < times[k];
        });
        const double top = flight == bounces.rend()
                               ? BouncingBall::dropHeight
                               : flight->rebound * flight->rebound / (2 * BouncingBall::gravity);
        const double reached = height[k] + velocity[k] * velocity[k] / (2 * BouncingBall::gravity);
        // The upper side of an impact belongs to the flight after it.
        if (height[k] > 0) {
            EXPECT_NEAR(reached, top, bounceTolerance) << times[k];
            ++checked;
        }
    }
    EXPECT_GT(checked, 150u);
}

TEST(BouncingBallTest, timesStrictlyIncreaseBetweenImpacts) {
    const LoggedRun run = full_ball_run();
    const auto& times = run.groups[0].times;
    std::size_t repeats = 0;
    for (std::size_t k = 1; k < times.size(); ++k) {
        if (times[k] == times[k - 1]) {
            EXPECT_EQ(times[k], run.events[repeats].time);
            ++repeats;
        } else {
            EXPECT_GT(times[k], times[k - 1]);
        }
    }
    EXPECT_EQ(repeats, run.events.size());
}

TEST(BouncingBallTest, rejectedStepsAreNotInTheResult) {
    const BouncingBall model;
    integration::SpyWriter writer(simulate::logging_setup(model.groups()));
    const simulate::RollbackWarnings warnings;
    simulate::Recorder recorder(writer, warnings);
    model.run(recorder, {5, 1e-9});
    const LoggedRun run = full_ball_run();
    ASSERT_EQ(writer.discarded.size(), run.events.size());
    const auto& times = run.groups[0].times;
    for (const auto& [time, row] : writer.discarded) {
        EXPECT_LE(row[0], 0) << "a step that ends above the floor was taken back";
        EXPECT_EQ(std::count(times.begin(), times.end(), time), 0);
    }
    EXPECT_EQ(writer.kept.size(), times.size());
}

TEST(BouncingBallTest, noSampleIsBelowTheFloor) {
    const auto run = full_ball_run();
    const auto& height = integration::values_of(run, "ball.height");
    EXPECT_GE(*std::min_element(height.begin(), height.end()), 0);
}

TEST(BouncingBallTest, countsOneRejectedStepPerImpact) {
    const LoggedRun run = full_ball_run();
    EXPECT_EQ(run.counts.takenBack, run.events.size());
    EXPECT_EQ(run.counts.declined, 0u);
    EXPECT_EQ(run.counts.logged - run.counts.takenBack, run.groups[0].times.size());
}

TEST(BouncingBallTest, runEndsAtTheStopTimeInFlight) {
    const LoggedRun run = integration::run_model(BouncingBall(), 0.7);
    EXPECT_EQ(run.groups[0].times.back(), 0.7);
    EXPECT_GT(integration::values_of(run, "ball.height").back(), 0.1);
}

TEST(BouncingBallTest, restingBallStaysAtRestInALongRun) {
    const LoggedRun run = integration::run_model(BouncingBall(), 1e6);
    EXPECT_EQ(run.groups[0].times.back(), 1e6);
    EXPECT_EQ(integration::values_of(run, "ball.height").back(), 0);
    EXPECT_EQ(integration::values_of(run, "ball.velocity").back(), 0);
    EXPECT_EQ(run.events.back().label, "comes to rest");
    EXPECT_EQ(run.groups[0].times.size(), full_ball_run().groups[0].times.size());
}

TEST(BouncingBallTest, toleranceDoesNotMoveTheImpacts) {
    const LoggedRun coarse = integration::run_model(BouncingBall(), 5, 1e-2);
    const LoggedRun fine = integration::run_model(BouncingBall(), 5, 1e-13);
    ASSERT_EQ(coarse.events.size(), fine.events.size());
    for (std::size_t k = 0; k < fine.events.size(); ++k) {
        EXPECT_NEAR(coarse.events[k].time, fine.events[k].time, bounceTolerance);
    }
}

} // namespace
