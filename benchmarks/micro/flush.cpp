#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

namespace logging2::core::bench {
namespace {

void flush_memory(benchmark::State& state) {
    const std::size_t width = argument(state);
    const Rows rows(scalars(width, steps_for_width(width)));
    for (auto _ : state) {
        MemoryStreamWriter writer({}, setup_of(rows.workload()));
        write_all(writer, rows);
        time_once(state, [&] { writer.flush(); });
    }
    count_rows(state, rows.workload().rowCount());
}

} // namespace

void register_flush() {
    auto* const family = benchmark::RegisterBenchmark("flush/memory", flush_memory);
    family->Arg(1)->Arg(8)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

} // namespace logging2::core::bench
