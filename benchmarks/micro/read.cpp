#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

namespace logging2::core::bench {
namespace {

constexpr std::size_t stepCount = 1'000'000;

template <class Writer>
boost::any stored_scalar() {
    const Rows rows(scalars(1, stepCount));
    Writer writer({}, setup_of(rows.workload()));
    write_all(writer, rows);
    writer.flush();
    return writer.dataStore(path_of(0, 0));
}

template <class Writer, class Reader>
void read(benchmark::State& state) {
    const Reader reader(stored_scalar<Writer>());
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.timeseries());
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(2 * stepCount * sizeof(double)));
}

template <class Writer, class Reader>
void clone(benchmark::State& state) {
    const Reader reader(stored_scalar<Writer>());
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.clone());
    }
}

/// The destructor of a file-backed reader's clone looks for the files, so the time of `clone`
/// includes that.
template <class Writer, class Reader>
void register_for(const char* readName, const char* cloneName) {
    benchmark::RegisterBenchmark(readName, read<Writer, Reader>)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark(cloneName, clone<Writer, Reader>);
}

} // namespace

void register_read() {
    register_for<MemoryStreamWriter, MemoryStreamReader>("read/memory", "clone/memory");
    register_for<NativeStreamWriter, NativeStreamReader>("read/native", "clone-and-remove/native");
}

} // namespace logging2::core::bench
