#include <examples/simulate/report/plot_layout.hpp>

#include <examples/simulate/models/BouncingBall.hpp>
#include <examples/simulate/models/DcMotor.hpp>
#include <examples/simulate/models/Lorenz.hpp>
#include <examples/simulate/report/plot_script.hpp>
#include <tests/integration/support/runs.hpp>

#include <gtest/gtest.h>

namespace {

using integration::LoggedRun;
using simulate::lay_out_plot;
using simulate::Plot;

Plot plot_of(const LoggedRun& run, std::size_t group, const std::string& timeUnit = "s") {
    return lay_out_plot(run.groups[group], {"title", "subtitle", timeUnit, run.events});
}

std::vector<std::string> y_labels(const Plot& plot) {
    std::vector<std::string> labels;
    for (const simulate::Panel& panel : plot.series) {
        labels.push_back(panel.yLabel);
    }
    return labels;
}

TEST(PlotLayoutTest, everyQuantityHasItsOwnPanel) {
    const LoggedRun run = integration::run_model(simulate::DcMotor(), 0.1);
    EXPECT_EQ(y_labels(plot_of(run, 0)), (std::vector<std::string>{"current [A]", "speed [rad/s]",
                                                                   "angle [rad]", "torque [N m]"}));
    EXPECT_EQ(y_labels(plot_of(run, 1)),
              (std::vector<std::string>{"speed [rad/s]", "voltage [V]"}));
}

TEST(PlotLayoutTest, aliasesShareACurveWithBothNames) {
    const LoggedRun run = integration::run_model(simulate::DcMotor(), 0.1);
    const Plot plot = plot_of(run, 1);
    EXPECT_TRUE(plot.held);
    ASSERT_EQ(plot.series[1].curves.size(), 1u);
    EXPECT_EQ(plot.series[1].curves[0].title, "controller.output = motor.voltage");
    EXPECT_EQ(plot.series[0].curves.size(), 2u);
}

TEST(PlotLayoutTest, curvesHoldTheSamplesInsideTheAxes) {
    const LoggedRun run = integration::run_model(simulate::BouncingBall(), 1);
    const Plot plot = plot_of(run, 0);
    const simulate::Panel& height = plot.series[0];
    ASSERT_EQ(height.curves[0].points.size(), run.groups[0].times.size());
    EXPECT_EQ(height.xLabel, "time [s]");
    EXPECT_EQ(height.x.low, 0);
    EXPECT_EQ(height.x.high, 1);
    EXPECT_LT(height.y.low, 0);
    EXPECT_GT(height.y.high, 1);
    EXPECT_TRUE(height.rejected.empty());
}

TEST(PlotLayoutTest, eventsOutsideTheTimeAxisAreLeftOut) {
    LoggedRun run = integration::run_model(simulate::BouncingBall(), 1);
    run.events.push_back({-1, "before"});
    run.events.push_back({2, "after"});
    const Plot plot = plot_of(run, 0);
    ASSERT_EQ(plot.events.size(), 1u);
    EXPECT_EQ(plot.events[0].label, "impact");
}

TEST(PlotLayoutTest, rejectedStepsAreMarkedOutsideTheCurve) {
    integration::run_model(simulate::BouncingBall(), 1);
    const LoggedRun run =
        integration::run_model(simulate::BouncingBall(), 1, 1e-9, simulate::Backend("declining"));
    const Plot plot = plot_of(run, 0);
    ASSERT_EQ(plot.series[0].rejected.size(), 1u);
    EXPECT_LT(plot.series[0].rejected[0].y, 0);
    EXPECT_EQ(plot.series[0].curves[0].points.size(), run.groups[0].times.size() - 1);
    EXPECT_NE(simulate::plot_script(plot, "x").find("rejected step"), std::string::npos);
}

TEST(PlotLayoutTest, phasePlotShowsTheEndOfTheRun) {
    const LoggedRun run = integration::run_model(simulate::Lorenz(), 150);
    const Plot plot = plot_of(run, 0, "1");
    ASSERT_EQ(plot.phase.size(), 1u);
    EXPECT_EQ(plot.phase[0].xLabel, "x [1]");
    EXPECT_EQ(plot.phase[0].yLabel, "z [1]");
    EXPECT_EQ(plot.phase[0].curves[0].title, "time 50.0 to 150.0");
    EXPECT_NEAR(plot.series[0].x.low, 125, 0.1);
    EXPECT_EQ(plot.series.size(), 3u);
}

TEST(PlotLayoutTest, longRunIsThinned) {
    const LoggedRun run = integration::run_model(simulate::DcMotor(), 60);
    EXPECT_LE(plot_of(run, 1).series[0].curves[0].points.size(), 4002u);
    EXPECT_GT(run.groups[1].times.size(), 10000u);
}

TEST(PlotLayoutTest, singleSampleHasAxes) {
    const simulate::GroupInfo info{0, "g", false, {{"a", 0, {{"", "length", "m"}}}}, {}};
    const Plot plot = lay_out_plot({info, {5}, {{3}}}, {"", "", "s", {{4, "early"}}});
    EXPECT_LT(plot.series[0].x.low, 5);
    EXPECT_GT(plot.series[0].x.high, 5);
    EXPECT_LT(plot.series[0].y.low, 3);
    EXPECT_GT(plot.series[0].y.high, 3);
    EXPECT_TRUE(plot.events.empty());
}

} // namespace
