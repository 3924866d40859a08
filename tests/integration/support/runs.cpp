#include <tests/integration/support/runs.hpp>

#include <examples/simulate/logging/LogSession.hpp>
#include <examples/simulate/report/samples.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <cstring>
#include <stdexcept>

namespace integration {

LoggedRun run_model(const simulate::Model& model, double stopTime, double tolerance,
                    const simulate::Backend& backend, std::size_t pointLimit) {
    register_test_backends();
    logging2::core::StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    simulate::LogSession session(backend, attributes, model.groups());
    const simulate::RollbackWarnings warnings;
    simulate::Recorder recorder(session.writer(), warnings);
    model.run(recorder, {stopTime, tolerance});
    return {session.finish(), recorder.counts(), recorder.events()};
}

const std::vector<double>& values_of(const LoggedRun& run, const std::string& path) {
    for (const simulate::GroupResult& group : run.groups) {
        for (std::size_t index = 0; index < group.info.paths.size(); ++index) {
            if (group.info.paths[index].path == path) {
                return group.values[index];
            }
        }
    }
    throw std::out_of_range("no path " + path);
}

std::vector<double> component(const LoggedRun& run, const std::string& path, std::size_t width,
                              std::size_t index) {
    return simulate::component_of(values_of(run, path), width, index);
}

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

} // namespace integration
