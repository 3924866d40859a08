#include <examples/simulate/models/Lorenz.hpp>

#include <examples/simulate/models/AdaptiveSolver.hpp>

#include <array>

namespace simulate {
namespace {

using State = std::array<double, 3>;

constexpr std::size_t stateGroup = 0;

struct LorenzSystem {
    void operator()(const State& x, State& dxdt, double /*time*/) const {
        constexpr double sigma = 10;
        constexpr double rho = 28;
        constexpr double beta = 8.0 / 3.0;
        dxdt[0] = sigma * (x[1] - x[0]);
        dxdt[1] = x[0] * (rho - x[2]) - x[1];
        dxdt[2] = x[0] * x[1] - beta * x[2];
    }
};

} // namespace

std::string Lorenz::name() const {
    return "lorenz";
}

std::string Lorenz::title() const {
    return "Lorenz attractor: σ = 10, ρ = 28, β = 8/3";
}

std::string Lorenz::description() const {
    return "the Lorenz attractor over a long run, for load; one channel of width 3";
}

std::string Lorenz::timeUnit() const {
    return "1";
}

double Lorenz::defaultStopTime() const {
    return 1000;
}

std::vector<GroupInfo> Lorenz::groups() const {
    return {{stateGroup,
             "state",
             false,
             {{"lorenz.state", 0, {{"x", "x", "1"}, {"y", "y", "1"}, {"z", "z", "1"}}}},
             PhasePlot{0, 2, 100, 25}}};
}

void Lorenz::run(Recorder& recorder, const RunSettings& settings) const {
    AdaptiveSolver<State> solver(settings.tolerance, 0.1);
    solver.restart({1, 1, 1}, 0);
    recorder.step(stateGroup, 0, solver.state());
    while (solver.time() < settings.stopTime) {
        solver.step(LorenzSystem(), settings.stopTime);
        recorder.step(stateGroup, solver.time(), solver.state());
    }
}

} // namespace simulate
