#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/process/guarded_main.hpp>
#include <benchmarks/process/warm_memory.hpp>

#include <logging2/host/foundation/bundle_context.hpp>

#include <benchmark/benchmark.h>

#include <cstddef>

namespace logging2::core::bench {
namespace {

/// More memory than any of the benchmarks uses at a time.
constexpr std::size_t warmByteCount = std::size_t{512} * 1024 * 1024;

int main_of(int argc, char** argv) {
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
    register_checked();
#ifdef LOGGING2_HAS_RECORDING
    register_compress();
#endif
    warm_memory(warmByteCount);
    benchmark::RunSpecifiedBenchmarks();
    foundation::stop_vantrel_core();
    return 0;
}

} // namespace
} // namespace logging2::core::bench

int main(int argc, char** argv) {
    using namespace logging2::core::bench;
    return guarded_main(main_of, argc, argv);
}
