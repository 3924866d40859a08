#include <logging2/logging2.hpp>

#include <exception>
#include <iostream>
#include <string>

namespace {

/// A valve that opens at 2 and, in a step that the solver rejects, closes at 3 already.
void log_valve(logging2::core::StreamWriter& writer) {
    for (const double time : {0.0, 1.0, 2.0, 3.0}) {
        const double opening = time < 2.0 || time > 2.5 ? 0.0 : 1.0;
        writer.write(0, time, &opening, 1);
    }
    writer.rollback(0, 2.0);
    const double opening = 1.0;
    writer.write(0, 2.5, &opening, 1);
    writer.flush();
}

void print_samples(const logging2::core::StreamReader& reader) {
    const auto [times, values] = reader.timeseries();
    for (std::size_t s = 0; s < times.size(); ++s) {
        std::cout << times[s] << ' ' << values[s] << '\n';
    }
}

/// Logs with the back-end, reads what it kept, and prints it.
void log_and_print(const std::string& backend) {
    using namespace logging2::core;
    const lang::core::ValuePath path("valve.opening");
    const SequenceMap<Group, LoggedPathsSetupData> setup{
        {Group(0), LoggedPathsSetupData({{path, CoreDataId(0)}}, {{CoreDataId(0), 1}})}};
    const auto writer = get_stream_writer(backend, StreamingAttributes{}, setup).value();
    log_valve(*writer);
    print_samples(*get_stream_reader(backend, writer->dataStore(path)).value());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: host LIBRARY, a shared library with back-ends\n";
        return 2;
    }
    foundation::install_and_start_vantrel_core();
    const auto context = foundation::get_global_bundle_context();
    int status = 0;
    try {
        logging2::core::load_backends(argv[1], context);
        for (const auto& backend : logging2::core::registered_backends(context)) {
            std::cout << backend.name << " (" << backend.description << ")\n";
            log_and_print(backend.name);
        }
    } catch (const std::exception& error) {
        std::cerr << "host: " << error.what() << '\n';
        status = 1;
    }
    foundation::stop_vantrel_core();
    return status;
}
