#pragma once

#include <examples/simulate/logging/Backend.hpp>
#include <examples/simulate/logging/Recorder.hpp>
#include <examples/simulate/logging/RunResult.hpp>
#include <examples/simulate/models/Model.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace integration {

/// The result of a run of a model.
struct LoggedRun {
    std::vector<simulate::GroupResult> groups;
    simulate::StepCounts counts;
    std::vector<simulate::Event> events;
};

/// Runs the model through the library and reads the result back. Registers the back-ends first.
LoggedRun run_model(const simulate::Model& model, double stopTime, double tolerance = 1e-9,
                    const simulate::Backend& backend = simulate::Backend(),
                    std::size_t pointLimit = 1000);

/// The values of a path of the run. Throws std::out_of_range if there is no such path.
const std::vector<double>& values_of(const LoggedRun& run, const std::string& path);

/// One component of the run's path.
std::vector<double> component(const LoggedRun& run, const std::string& path, std::size_t width,
                              std::size_t index);

/// Whether both hold the same doubles, compared by their bits.
bool same_bits(const std::vector<double>& a, const std::vector<double>& b);

} // namespace integration
