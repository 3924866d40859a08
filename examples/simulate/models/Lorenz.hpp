#pragma once

#include <examples/simulate/models/Model.hpp>

namespace simulate {

/// The Lorenz system with its classical parameters, solved for long: many rows, little work each.
class Lorenz final : public Model {
public:
    std::string name() const override;
    std::string title() const override;
    std::string description() const override;
    std::string timeUnit() const override;
    double defaultStopTime() const override;
    std::vector<GroupInfo> groups() const override;
    void run(Recorder& recorder, const RunSettings& settings) const override;
};

} // namespace simulate
