#include <logging2/backends/recording/recording.hpp>
#include <logging2/logging2.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

// Records a run below the directory "results", and reads a part of it.

namespace {

using lang::core::ValuePath;

logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData>
falling_ball() {
    using namespace logging2::core;
    const std::vector<LoggedPath> paths{{ValuePath("ball.height"), CoreDataId(0)},
                                        {ValuePath("ball.position"), CoreDataId(1)}};
    const std::vector<LoggedChannel> channels{{CoreDataId(0), 1}, {CoreDataId(1), 3}};
    return {{Group(0), LoggedPathsSetupData(paths, channels)}};
}

void log_fall(logging2::core::StreamWriter& writer) {
    for (const double time : {0.0, 0.1, 0.2, 0.3}) {
        const double row[] = {1.0 - time, 0.0, 0.0, 1.0 - time}; // height, then position
        writer.write(0, time, row, 4);
    }
    writer.rollback(0, 0.2); // the solver rejects what came after 0.2
    writer.flush();          // once, at the end
}

void record(cppmicroservices::BundleContext context) {
    using namespace logging2::core;
    RecordingOptions options;
    options.directory = "results"; // created if missing
    options.properties = {{"model", "falling ball"}};
    register_recording_backend(context, options);

    StreamingAttributes attributes;
    attributes.name = "ball";
    const auto writer = get_stream_writer("recording", attributes, falling_ball()).value();
    log_fall(*writer);
}

void print_newest() {
    using namespace logging2::core;
    const std::vector<RecordingEntry> recordings = list_recordings("results");
    if (recordings.empty() || !recordings.front().fault.empty()) {
        return; // none can be read
    }
    const std::unique_ptr<Run> run = open_recording(recordings.front().location);
    const auto [times, values, width] = run->series(ValuePath("ball.position"), 0.1, 0.2);
    for (std::size_t s = 0; s < times.size(); ++s) {
        std::cout << times[s] << ':';
        for (std::size_t e = 0; e < width; ++e) {
            std::cout << ' ' << values[s * width + e];
        }
        std::cout << '\n';
    }
}

void rescue(const std::string& location, const std::string& newLocation) {
    using namespace logging2::core;
    for (const std::string& finding : check_recording(location).findings) {
        std::cout << finding << '\n';
    }
    const RecordingRebuild report = rebuild_recording(location, newLocation);
    for (const LostSteps& lost : report.lostSteps) {
        std::cout << "group " << lost.group << ": " << lost.stepCount << " steps from "
                  << lost.firstStep << " on are lost\n";
    }
}

} // namespace

int main() {
    foundation::install_and_start_vantrel_core();
    record(foundation::get_global_bundle_context());
    print_newest();
    const auto recordings = logging2::core::list_recordings("results");
    if (!recordings.empty()) {
        const std::string newest = recordings.front().location;
        rescue(newest, newest + ".rescued.recording");
    }
    foundation::stop_vantrel_core();
}
