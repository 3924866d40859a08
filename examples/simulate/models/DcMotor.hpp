#pragma once

#include <examples/simulate/models/Model.hpp>

namespace simulate {

/// A DC motor whose speed a sampled PI controller holds against a load that comes on at once.
///
/// Two groups: the motor at the solver's steps, the controller at its own fixed rate. The sampling
/// instants and the load step are hit exactly; the load step is logged on both sides.
class DcMotor final : public Model {
public:
    static constexpr double resistance = 1.0;     // ohm
    static constexpr double inductance = 5e-3;    // H
    static constexpr double motorConstant = 0.05; // V s/rad, and N m/A
    static constexpr double inertia = 1e-4;       // kg m^2
    static constexpr double friction = 1e-5;      // N m s/rad

    static constexpr double setPoint = 100;         // rad/s
    static constexpr double proportionalGain = 0.1; // V s/rad
    static constexpr double integralGain = 2.5;     // V/rad
    static constexpr double largestVoltage = 24;    // V
    static constexpr double samplePeriod = 0.005;   // s

    static constexpr double loadTorque = 0.05;     // N m
    static constexpr double loadStepTime = 0.4025; // s, between two sampling instants

    static constexpr std::size_t motorGroup = 0;
    static constexpr std::size_t controllerGroup = 1;

    std::string name() const override;
    std::string title() const override;
    std::string description() const override;
    std::string timeUnit() const override;
    double defaultStopTime() const override;
    std::vector<GroupInfo> groups() const override;
    void run(Recorder& recorder, const RunSettings& settings) const override;
};

} // namespace simulate
