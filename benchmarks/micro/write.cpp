#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

namespace logging2::core::bench {
namespace {

/// Writes a million doubles to a new writer in each iteration. Rings keep a tenth of the steps. No
/// buffer of the file-backed writer becomes full.
template <class Writer>
void write_rows(benchmark::State& state) {
    const std::size_t width = argument(state);
    const Rows rows(scalars(width, steps_for_width(width)));
    for (auto _ : state) {
        auto writer = make_writer<Writer>(rows.workload(), rows.workload().stepCount / 10 + 1);
        time_once(state, [&] { write_all(writer, rows); });
    }
    count_rows(state, rows.workload().rowCount());
}

template <class Writer>
void register_for(const char* name) {
    auto* const family = benchmark::RegisterBenchmark(name, write_rows<Writer>);
    family->Arg(1)->Arg(8)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

} // namespace

void register_write() {
    register_for<MemoryStreamWriter>("write/memory");
    register_for<MemoryStreamRestrictedWriter>("write/memory-restricted");
    register_for<NativeStreamWriter>("write/native");
}

} // namespace logging2::core::bench
