#include <examples/simulate/models/BouncingBall.hpp>

#include <examples/simulate/models/AdaptiveSolver.hpp>

#include <boost/math/tools/toms748_solve.hpp>

#include <array>
#include <cstdint>

namespace simulate {
namespace {

using State = std::array<double, 2>; // height, velocity
using Solver = AdaptiveSolver<State>;

constexpr std::size_t ballGroup = 0;
constexpr double impactTolerance = 1e-13; // s

void fly(const State& x, State& dxdt, double /*time*/) {
    dxdt[0] = x[1];
    dxdt[1] = -BouncingBall::gravity;
}

/// Where a component of the state changes its sign inside the solver's last step.
double locate_zero(const Solver& solver, std::size_t component, double begin, double end) {
    const auto value = [&](double time) { return solver.stateAt(time)[component]; };
    const auto close = [](double a, double b) { return b - a <= impactTolerance; };
    std::uintmax_t iterations = 100;
    const auto [a, b] = boost::math::tools::toms748_solve(value, begin, end, close, iterations);
    return a + (b - a) / 2;
}

/// The impact inside the last step. A step that starts in contact is searched from the top of its
/// flight on, or the impact that started it would be found again.
double locate_impact(const Solver& solver) {
    const double begin = solver.previousTime();
    const double end = solver.time();
    const bool rising = solver.stateAt(begin)[1] > 0;
    return locate_zero(solver, 0, rising ? locate_zero(solver, 1, begin, end) : begin, end);
}

/// One look at the end of a step misses no impact: a flight is concave, so it comes down once and
/// stays below the floor.
bool has_hit(const State& state) {
    return state[0] <= 0 && state[1] < 0;
}

/// Replaces the last step by the impact inside it. Returns the state after it, at rest where the
/// ball does not rebound any more.
State log_impact(Recorder& recorder, const Solver& solver, double time) {
    recorder.takeBack(ballGroup, solver.previousTime());
    const State before{0, solver.stateAt(time)[1]};
    const double rebound = -BouncingBall::restitution * before[1];
    const State after{0, rebound < BouncingBall::restVelocity ? 0 : rebound};
    recorder.step(ballGroup, time, before);
    recorder.step(ballGroup, time, after);
    recorder.event(time, after[1] > 0 ? "impact" : "comes to rest");
    return after;
}

/// A ball at rest needs no solver: one sample at the stop time says that nothing happened.
void log_rest(Recorder& recorder, double time, double stopTime) {
    if (time < stopTime) {
        recorder.step(ballGroup, stopTime, State{0, 0});
    }
}

} // namespace

std::string BouncingBall::name() const {
    return "bouncing-ball";
}

std::string BouncingBall::title() const {
    return "Bouncing ball: dropped from 1 m, restitution 0.8";
}

std::string BouncingBall::description() const {
    return "a ball dropped from 1 m that bounces until it rests; takes steps back at impacts";
}

std::string BouncingBall::timeUnit() const {
    return "s";
}

double BouncingBall::defaultStopTime() const {
    return 5;
}

std::vector<GroupInfo> BouncingBall::groups() const {
    return {{ballGroup,
             "ball",
             false,
             {{"ball.height", 0, {{"", "height", "m"}}},
              {"ball.velocity", 1, {{"", "velocity", "m/s"}}}},
             std::nullopt}};
}

void BouncingBall::run(Recorder& recorder, const RunSettings& settings) const {
    Solver solver(settings.tolerance, largestStep);
    solver.restart({dropHeight, 0}, 0);
    recorder.step(ballGroup, 0, solver.state());
    while (solver.time() < settings.stopTime) {
        solver.step(fly, settings.stopTime);
        recorder.step(ballGroup, solver.time(), solver.state());
        if (!has_hit(solver.state())) {
            continue;
        }
        const double impact = locate_impact(solver);
        const State after = log_impact(recorder, solver, impact);
        if (after[1] == 0) {
            log_rest(recorder, impact, settings.stopTime);
            return;
        }
        solver.restart(after, impact);
    }
}

} // namespace simulate
