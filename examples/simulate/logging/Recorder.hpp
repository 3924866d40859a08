#pragma once

#include <examples/simulate/logging/RollbackWarnings.hpp>
#include <logging2/logging2.hpp>

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace simulate {

/// Something that happened at one time of a run and is worth a mark in a plot.
struct Event {
    double time;
    std::string label;
};

/// What a run did to its writer.
struct StepCounts {
    std::size_t logged = 0;
    /// Logged, then taken back.
    std::size_t takenBack = 0;
    /// To be taken back, but kept by a back-end that cannot.
    std::size_t declined = 0;
};

/// What a model logs through: passes steps on to a writer, counts them and collects events.
class Recorder {
public:
    /// Called with a time now and then.
    using Progress = std::function<void(double)>;

    /// The writer and the warnings must outlive the recorder.
    Recorder(logging2::core::StreamWriter& target, const RollbackWarnings& rollbackWarnings,
             Progress reporter = {});

    /// Logs an accepted step. Throws HostError where the writer refuses it.
    template <std::size_t valueCount>
    void step(std::size_t group, double time, const std::array<double, valueCount>& row) {
        write(group, time, row.data(), valueCount);
    }

    /// Takes back the one step of the group that stands behind the time.
    void takeBack(std::size_t group, double time);

    void event(double time, std::string label);

    const StepCounts& counts() const { return stepCounts; }
    const std::vector<Event>& events() const { return eventList; }

private:
    void write(std::size_t group, double time, const double* values, std::size_t valueCount);

    logging2::core::StreamWriter& writer;
    const RollbackWarnings& warnings;
    Progress progress;
    StepCounts stepCounts;
    std::vector<Event> eventList;
};

} // namespace simulate
