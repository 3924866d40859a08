#include <examples/simulate/models/DcMotor.hpp>
#include <tests/integration/support/runs.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using integration::component;
using integration::LoggedRun;
using integration::values_of;
using simulate::DcMotor;

LoggedRun full_motor_run() {
    return integration::run_model(DcMotor(), 0.8);
}

const std::vector<double>& motor_times(const LoggedRun& run) {
    return run.groups[DcMotor::motorGroup].times;
}

const std::vector<double>& controller_times(const LoggedRun& run) {
    return run.groups[DcMotor::controllerGroup].times;
}

TEST(DcMotorTest, speedReachesTheSetPointBeforeAndAfterTheLoad) {
    const LoggedRun run = full_motor_run();
    const auto speed = component(run, "motor.state", 3, 1);
    const auto load =
        std::lower_bound(motor_times(run).begin(), motor_times(run).end(), DcMotor::loadStepTime);
    EXPECT_NEAR(speed[static_cast<std::size_t>(load - motor_times(run).begin())], DcMotor::setPoint,
                0.1);
    EXPECT_NEAR(speed.back(), DcMotor::setPoint, 0.1);
}

TEST(DcMotorTest, steadyCurrentAndVoltageBalanceTheLoad) {
    const LoggedRun run = full_motor_run();
    const double current =
        (DcMotor::loadTorque + DcMotor::friction * DcMotor::setPoint) / DcMotor::motorConstant;
    const double voltage =
        DcMotor::resistance * current + DcMotor::motorConstant * DcMotor::setPoint;
    EXPECT_NEAR(component(run, "motor.state", 3, 0).back(), current, 0.01);
    EXPECT_NEAR(values_of(run, "motor.voltage").back(), voltage, 0.01);
}

TEST(DcMotorTest, angleIsTheIntegralOfTheSpeed) {
    const LoggedRun run = full_motor_run();
    const auto& times = motor_times(run);
    const auto speed = component(run, "motor.state", 3, 1);
    double angle = 0;
    for (std::size_t k = 1; k < times.size(); ++k) {
        angle += (times[k] - times[k - 1]) * (speed[k] + speed[k - 1]) / 2;
    }
    EXPECT_NEAR(component(run, "motor.state", 3, 2).back(), angle, 1e-3);
}

TEST(DcMotorTest, loadStepSlowsTheMotor) {
    const LoggedRun run = full_motor_run();
    const auto speed = component(run, "motor.state", 3, 1);
    double slowest = DcMotor::setPoint;
    for (std::size_t k = 0; k < speed.size(); ++k) {
        if (motor_times(run)[k] > DcMotor::loadStepTime) {
            slowest = std::min(slowest, speed[k]);
        }
    }
    EXPECT_LT(slowest, 0.97 * DcMotor::setPoint);
    EXPECT_GT(slowest, 0.8 * DcMotor::setPoint);
}

TEST(DcMotorTest, bothSidesOfTheLoadStepAreLogged) {
    const LoggedRun run = full_motor_run();
    const auto& times = motor_times(run);
    const auto [first, last] = std::equal_range(times.begin(), times.end(), DcMotor::loadStepTime);
    ASSERT_EQ(last - first, 2);
    const auto at = static_cast<std::size_t>(first - times.begin());
    EXPECT_EQ(values_of(run, "load.torque")[at], 0);
    EXPECT_EQ(values_of(run, "load.torque")[at + 1], DcMotor::loadTorque);
    ASSERT_EQ(run.events.size(), 1u);
    EXPECT_EQ(run.events[0].time, DcMotor::loadStepTime);
}

TEST(DcMotorTest, motorTimesStrictlyIncreaseExceptAtTheLoadStep) {
    const LoggedRun run = full_motor_run();
    const auto& times = motor_times(run);
    for (std::size_t k = 1; k < times.size(); ++k) {
        if (times[k] <= times[k - 1]) {
            EXPECT_EQ(times[k], DcMotor::loadStepTime);
            EXPECT_EQ(times[k - 1], DcMotor::loadStepTime);
        }
    }
}

TEST(DcMotorTest, controllerSamplesAtItsOwnFixedRate) {
    const LoggedRun run = full_motor_run();
    const auto& times = controller_times(run);
    ASSERT_EQ(times.size(), 161u);
    for (std::size_t k = 0; k < times.size(); ++k) {
        EXPECT_EQ(times[k], static_cast<double>(k) * DcMotor::samplePeriod);
    }
}

TEST(DcMotorTest, motorIsLoggedAtEverySampleOfTheController) {
    const LoggedRun run = full_motor_run();
    const auto& times = motor_times(run);
    const auto speed = component(run, "motor.state", 3, 1);
    const auto& measured = values_of(run, "controller.measured");
    for (std::size_t k = 0; k < controller_times(run).size(); ++k) {
        const auto found = std::lower_bound(times.begin(), times.end(), controller_times(run)[k]);
        ASSERT_NE(found, times.end());
        ASSERT_EQ(*found, controller_times(run)[k]);
        EXPECT_EQ(speed[static_cast<std::size_t>(found - times.begin())], measured[k]);
    }
}

TEST(DcMotorTest, aliasesShowTheSameChannel) {
    const LoggedRun run = full_motor_run();
    EXPECT_TRUE(integration::same_bits(values_of(run, "controller.output"),
                                       values_of(run, "motor.voltage")));
    EXPECT_FALSE(integration::same_bits(values_of(run, "controller.output"),
                                        values_of(run, "controller.measured")));
}

TEST(DcMotorTest, stopTimeMayLieBetweenSamplingInstants) {
    const LoggedRun run = integration::run_model(DcMotor(), 0.0123);
    EXPECT_EQ(motor_times(run).back(), 0.0123);
    EXPECT_EQ(controller_times(run), (std::vector<double>{0, 0.005, 0.01}));
    EXPECT_TRUE(run.events.empty());
}

} // namespace
