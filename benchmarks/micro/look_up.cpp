#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>

namespace logging2::core::bench {
namespace {

void writer_by_name(benchmark::State& state) {
    const auto setup = setup_of(scalars(8, 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(get_stream_writer("memory", {}, setup));
    }
}

/// Creates a writer without the registry.
void default_writer(benchmark::State& state) {
    const auto setup = setup_of(scalars(8, 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(get_default_stream_writer({}, setup));
    }
}

void reader_by_name(benchmark::State& state) {
    MemoryStreamWriter writer({}, setup_of(scalars(1, 1)));
    writer.flush();
    const boost::any store = writer.dataStore(path_of(0, 0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(get_stream_reader("memory", store));
    }
}

void store_by_path(benchmark::State& state) {
    const std::size_t channelCount = argument(state);
    MemoryStreamWriter writer({}, setup_of(scalars(channelCount, 1)));
    writer.flush();
    const auto path = path_of(0, channelCount / 2);
    for (auto _ : state) {
        benchmark::DoNotOptimize(writer.dataStore(path));
    }
}

} // namespace

void register_look_up() {
    foundation::install_and_start_vantrel_core();
    register_builtin_backends(foundation::get_global_bundle_context());
    benchmark::RegisterBenchmark("look-up/writer-by-name", writer_by_name);
    benchmark::RegisterBenchmark("look-up/default-writer", default_writer);
    benchmark::RegisterBenchmark("look-up/reader-by-name", reader_by_name);
    benchmark::RegisterBenchmark("look-up/store-by-path", store_by_path)->Arg(8)->Arg(1000);
}

} // namespace logging2::core::bench
