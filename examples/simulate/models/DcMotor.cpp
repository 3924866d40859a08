#include <examples/simulate/models/DcMotor.hpp>

#include <examples/simulate/models/AdaptiveSolver.hpp>

#include <algorithm>
#include <array>

namespace simulate {
namespace {

using State = std::array<double, 3>; // current, speed, angle

/// The motor between two discontinuities: the voltage and the torque are held.
struct Motor {
    double voltage = 0;
    double torque = 0;

    void operator()(const State& x, State& dxdt, double /*time*/) const {
        const double k = DcMotor::motorConstant;
        dxdt[0] = (voltage - DcMotor::resistance * x[0] - k * x[1]) / DcMotor::inductance;
        dxdt[1] = (k * x[0] - DcMotor::friction * x[1] - torque) / DcMotor::inertia;
        dxdt[2] = x[1];
    }
};

/// A PI controller that stops integrating while its output is limited.
class SpeedController {
public:
    /// The voltage to hold until the next sampling instant.
    double sample(double speed) {
        const double error = DcMotor::setPoint - speed;
        const double wanted = DcMotor::proportionalGain * error + integral;
        const double limit = DcMotor::largestVoltage;
        const double output = std::clamp(wanted, -limit, limit);
        if (output == wanted) {
            integral += DcMotor::integralGain * DcMotor::samplePeriod * error;
        }
        return output;
    }

private:
    double integral = 0; // V
};

/// One run: solves from one discontinuity to the next.
class Drive {
public:
    Drive(Recorder& target, const RunSettings& runSettings)
        : recorder(target),
          settings(runSettings),
          solver(runSettings.tolerance, DcMotor::samplePeriod) {}

    void run() {
        solver.restart({0, 0, 0}, 0);
        logMotor();
        atDiscontinuity();
        while (solver.time() < settings.stopTime) {
            solver.step(motor, nextDiscontinuity());
            logMotor();
            if (solver.time() == nextDiscontinuity()) {
                atDiscontinuity();
            }
        }
    }

private:
    // A product, not a sum of periods: the instants do not drift.
    double nextSample() const { return static_cast<double>(sampleCount) * DcMotor::samplePeriod; }

    double nextDiscontinuity() const {
        const double next = std::min(nextSample(), settings.stopTime);
        return loaded ? next : std::min(next, DcMotor::loadStepTime);
    }

    void atDiscontinuity() {
        if (solver.time() == DcMotor::loadStepTime) {
            applyLoad();
        }
        if (solver.time() == nextSample()) {
            sampleController();
        }
    }

    void applyLoad() {
        loaded = true;
        motor.torque = DcMotor::loadTorque;
        logMotor();
        recorder.event(solver.time(), "load step");
    }

    void sampleController() {
        const double speed = solver.state()[1];
        motor.voltage = controller.sample(speed);
        const std::array row{DcMotor::setPoint, speed, motor.voltage};
        recorder.step(DcMotor::controllerGroup, solver.time(), row);
        ++sampleCount;
    }

    void logMotor() {
        const State& x = solver.state();
        recorder.step(DcMotor::motorGroup, solver.time(),
                      std::array{x[0], x[1], x[2], motor.torque});
    }

    Recorder& recorder;
    RunSettings settings;
    AdaptiveSolver<State> solver;
    Motor motor;
    SpeedController controller;
    std::size_t sampleCount = 0;
    bool loaded = false;
};

} // namespace

std::string DcMotor::name() const {
    return "dc-motor";
}

std::string DcMotor::title() const {
    return "DC motor: PI speed control, load from 0.4025 s on";
}

std::string DcMotor::description() const {
    return "a speed-controlled DC motor that meets a load; two groups, a wide channel, an alias";
}

std::string DcMotor::timeUnit() const {
    return "s";
}

double DcMotor::defaultStopTime() const {
    return 0.8;
}

std::vector<GroupInfo> DcMotor::groups() const {
    const Component speed{"", "speed", "rad/s"};
    const Component voltage{"", "voltage", "V"};
    return {
        {motorGroup,
         "motor",
         false,
         {{"motor.state",
           0,
           {{"current", "current", "A"}, {"speed", "speed", "rad/s"}, {"angle", "angle", "rad"}}},
          {"load.torque", 1, {{"", "torque", "N m"}}}},
         std::nullopt},
        {controllerGroup,
         "controller",
         true,
         {{"controller.setpoint", 2, {speed}},
          {"controller.measured", 3, {speed}},
          {"controller.output", 4, {voltage}},
          {"motor.voltage", 4, {voltage}}},
         std::nullopt}};
}

void DcMotor::run(Recorder& recorder, const RunSettings& settings) const {
    Drive(recorder, settings).run();
}

} // namespace simulate
