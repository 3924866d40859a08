#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>
#include <logging2/logging2.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// A separate host: logs three steps, discards one, and reads the rest.

namespace {

bool logs_and_reads(logging2::core::StreamWriter& writer, const std::string& backend) {
    for (const double time : {0.0, 1.0, 2.0}) {
        const double row[] = {time, 10.0 * time, 100.0 * time};
        writer.write(0, time, row, 3);
    }
    writer.rollback(0, 1.0);
    writer.flush();
    const auto reader =
        logging2::core::get_stream_reader(backend, writer.dataStore(lang::core::ValuePath("b")));
    return reader && (*reader)->timeseries().second == std::vector<double>{0.0, 0.0, 10.0, 100.0};
}

} // namespace

int main() {
    using namespace logging2::core;
    const SequenceMap<Group, LoggedPathsSetupData> setup{
        {Group(0), LoggedPathsSetupData({{lang::core::ValuePath("a"), CoreDataId(7)},
                                         {lang::core::ValuePath("b"), CoreDataId(9)}},
                                        {{CoreDataId(7), 1}, {CoreDataId(9), 2}})}};
    StreamingAttributes attributes;
    attributes.pointLimit = 10;

    foundation::install_and_start_vantrel_core();
    register_builtin_backends(foundation::get_global_bundle_context());
    register_checked_backend(foundation::get_global_bundle_context(), "memory");
    bool good = true;
    for (const char* backend : {"memory", "memory-restricted", "checked:memory"}) {
        const auto writer = get_stream_writer(backend, attributes, setup);
        good = good && writer && *writer && logs_and_reads(**writer, backend);
    }
    MemoryStreamRestrictedWriter restricted(attributes, setup);
    good = good && logs_and_reads(restricted, "memory-restricted");
    foundation::stop_vantrel_core();
    std::puts(good ? "consumer: as promised" : "consumer: FAILED");
    return good ? 0 : 1;
}
