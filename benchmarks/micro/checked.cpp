#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

#include <logging2/backends/checked/checked.hpp>

namespace logging2::core::bench {
namespace {

/// Writes to a new writer of the back-end in each iteration. The memory is warm.
void write_rows(benchmark::State& state, const std::string& backend) {
    const Rows rows(scalars(8, steps_for_width(8)));
    const auto setup = setup_of(rows.workload());
    for (auto _ : state) {
        const auto writer = get_stream_writer(backend, {}, setup).value();
        time_once(state, [&] { write_all(*writer, rows); });
        writer->close();
    }
    count_rows(state, rows.workload().rowCount());
}

void register_for(const std::string& backend) {
    benchmark::RegisterBenchmark(("checked/write/" + backend).c_str(), write_rows, backend)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

/// Measures the cost of the checks: the two differ by at most 10 ns per row.
void register_checked() {
    register_checked_backend(foundation::get_global_bundle_context(), "memory");
    register_for("memory");
    register_for("checked:memory");
}

} // namespace logging2::core::bench
