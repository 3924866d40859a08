#pragma once

#include <examples/simulate/models/Model.hpp>

namespace simulate {

/// A ball that falls from rest and bounces: impacts are found inside steps that were already
/// logged, which are taken back.
///
/// Each impact is logged on both sides, two samples at one time. The impacts accumulate; the ball
/// comes to rest with the first rebound that is slower than `restVelocity`.
class BouncingBall final : public Model {
public:
    static constexpr double gravity = 9.81;      // m/s^2
    static constexpr double dropHeight = 1.0;    // m
    static constexpr double restitution = 0.8;   // rebound speed by impact speed
    static constexpr double restVelocity = 0.01; // m/s
    static constexpr double largestStep = 0.02;  // s

    std::string name() const override;
    std::string title() const override;
    std::string description() const override;
    std::string timeUnit() const override;
    double defaultStopTime() const override;
    std::vector<GroupInfo> groups() const override;
    void run(Recorder& recorder, const RunSettings& settings) const override;
};

} // namespace simulate
