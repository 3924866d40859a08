#include <examples/simulate/logging/Recorder.hpp>

#include <examples/simulate/HostError.hpp>

#include <utility>

namespace simulate {
namespace {

constexpr std::size_t stepsPerReport = 4096;

} // namespace

Recorder::Recorder(logging2::core::StreamWriter& target, const RollbackWarnings& rollbackWarnings,
                   Progress reporter)
    : writer(target),
      warnings(rollbackWarnings),
      progress(std::move(reporter)) {}

void Recorder::takeBack(std::size_t group, double time) {
    const std::size_t warningsBefore = warnings.count();
    writer.rollback(group, time);
    const bool declined = warnings.count() != warningsBefore;
    ++(declined ? stepCounts.declined : stepCounts.takenBack);
}

void Recorder::event(double time, std::string label) {
    eventList.push_back({time, std::move(label)});
}

void Recorder::write(std::size_t group, double time, const double* values, std::size_t valueCount) {
    if (!writer.write(group, time, values, valueCount)) {
        throw HostError("the back-end did not store the sample of group " + std::to_string(group) +
                        " at time " + std::to_string(time));
    }
    if (++stepCounts.logged % stepsPerReport == 0 && progress) {
        progress(time);
    }
}

} // namespace simulate
