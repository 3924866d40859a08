#include <benchmarks/micro/registrations.hpp>

#include <logging2/host/foundation/bundle_context.hpp>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>

namespace {

int run(int argc, char** argv) {
    using namespace logging2::core::bench;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    register_write();
    register_rollback();
    register_flush();
    register_transpose();
    register_read();
    register_look_up();
    benchmark::RunSpecifiedBenchmarks();
    foundation::stop_vantrel_core();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
