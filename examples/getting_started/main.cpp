#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>
#include <logging2/logging2.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

// Logs the same run with each back-end by its name, and prints what its readers return.

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

void print(const ValuePath& path, const logging2::core::StreamReader& reader) {
    const auto [times, values] = reader.timeseries();
    for (std::size_t s = 0; s < times.size(); ++s) {
        std::cout << path.text() << " at " << times[s] << ':';
        const std::size_t width = values.size() / times.size();
        for (std::size_t e = 0; e < width; ++e) {
            std::cout << ' ' << values[s * width + e];
        }
        std::cout << '\n';
    }
}

void log_and_print(const std::string& backend) {
    using namespace logging2::core;
    StreamingAttributes attributes;
    attributes.name = "falling ball";
    attributes.pointLimit = 2; // for "memory-restricted"

    const auto writer = get_stream_writer(backend, attributes, falling_ball()).value();
    log_fall(*writer);

    const std::vector<ValuePath> paths{ValuePath("ball.height"), ValuePath("ball.position")};
    std::vector<std::unique_ptr<StreamReader>> readers;
    for (const ValuePath& path : paths) {
        readers.push_back(get_stream_reader(backend, writer->dataStore(path)).value());
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        print(paths[i], *readers[i]);
    }
}

} // namespace

int main() {
    foundation::install_and_start_vantrel_core();
    const auto context = foundation::get_global_bundle_context();
    logging2::core::register_builtin_backends(context);
    logging2::core::register_checked_backend(context, "native");

    for (const char* backend : {"memory", "memory-restricted", "native", "checked:native"}) {
        std::cout << backend << '\n';
        log_and_print(backend);
    }
    foundation::stop_vantrel_core();
}
