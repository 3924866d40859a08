#include <logging2/logging2.hpp>

#include <cppmicroservices/ServiceRegistration.h>

#include <dlfcn.h>

#include <iostream>
#include <vector>

using Registrations = std::vector<cppmicroservices::ServiceRegistrationU>;
using RegisterBackend = void(cppmicroservices::BundleContext&, Registrations&);

namespace {

/// Whether the library was loaded and has registered its back-end; tells why where it was not.
bool load_backend(const char* library) {
    void* const handle = dlopen(library, RTLD_NOW); // never closed: its services stay registered
    void* const function = handle == nullptr ? nullptr : dlsym(handle, "register_backend");
    if (function == nullptr) {
        std::cerr << "host: " << dlerror() << '\n';
        return false;
    }
    foundation::install_and_start_vantrel_core();
    auto context = foundation::get_global_bundle_context();
    Registrations registrations;
    reinterpret_cast<RegisterBackend*>(function)(context, registrations);
    return true;
}

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

/// Whether the back-end was found by its name, to write and to read.
bool log_and_print() {
    using namespace logging2::core;
    const lang::core::ValuePath path("valve.opening");
    const SequenceMap<Group, LoggedPathsSetupData> setup{
        {Group(0), LoggedPathsSetupData({{path, CoreDataId(0)}}, {{CoreDataId(0), 1}})}};
    const auto writer = get_stream_writer("on-change", StreamingAttributes{}, setup);
    if (!writer) {
        std::cerr << "host: nothing that writes is registered as \"on-change\"\n";
        return false;
    }
    log_valve(**writer);
    const auto reader = get_stream_reader("on-change", (*writer)->dataStore(path));
    if (!reader) {
        std::cerr << "host: nothing that reads is registered as \"on-change\"\n";
        return false;
    }
    print_samples(**reader);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: host LIBRARY, a shared library that registers \"on-change\"\n";
        return 2;
    }
    if (!load_backend(argv[1])) {
        return 1;
    }
    const bool found = log_and_print();
    foundation::stop_vantrel_core();
    return found ? 0 : 1;
}
