#pragma once

#include <examples/simulate/logging/Recorder.hpp>
#include <examples/simulate/models/GroupInfo.hpp>

#include <string>
#include <vector>

namespace simulate {

/// How far and how exactly a model is solved.
struct RunSettings {
    double stopTime;
    /// Absolute and relative error bound of a solver step.
    double tolerance;
};

/// A system that can be simulated. Runs share nothing, so one object may run any number of times.
class Model {
public:
    virtual ~Model() = default;

    /// The word by which the command line names it.
    virtual std::string name() const = 0;

    /// The heading of its plots.
    virtual std::string title() const = 0;

    /// One line for the list of models.
    virtual std::string description() const = 0;

    /// The unit of times, "1" where the model has none.
    virtual std::string timeUnit() const = 0;

    virtual double defaultStopTime() const = 0;

    /// What is logged, in the order of the group ids.
    virtual std::vector<GroupInfo> groups() const = 0;

    /// Solves from time 0 to the stop time and hands every accepted step to the recorder.
    virtual void run(Recorder& recorder, const RunSettings& settings) const = 0;
};

} // namespace simulate
