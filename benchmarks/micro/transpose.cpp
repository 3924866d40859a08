#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>
#include <benchmarks/workload/batch.hpp>

#include <logging2/columns/append_rows.hpp>

#include <deque>
#include <utility>

namespace logging2::core::bench {
namespace {

/// Appends a batch in each iteration. The columns keep their storage, as those of a writer do.
void append_batch(benchmark::State& state, const GroupShape& group) {
    const std::size_t width = group.valueCount();
    const Rows rows(Workload{"", {group}, steps_for_width(width)});
    const std::vector<double> batch = batch_of(rows);
    std::deque<std::vector<double>> columns;
    for (auto _ : state) {
        detail::append_rows(batch, width, group.widths, columns);
        benchmark::ClobberMemory();
        for (std::vector<double>& column : columns) {
            column.clear();
        }
    }
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(batch.size() * sizeof(double)));
    count_rows(state, rows.workload().rowCount());
}

void register_shape(const char* name, const GroupShape& group) {
    benchmark::RegisterBenchmark(name, [group](benchmark::State& state) {
        append_batch(state, group);
    })->Unit(benchmark::kMicrosecond);
}

} // namespace

void register_transpose() {
    register_shape("transpose/1x1", {{1}});
    register_shape("transpose/8x1", {std::vector<std::size_t>(8, 1)});
    register_shape("transpose/100x1", {std::vector<std::size_t>(100, 1)});
    register_shape("transpose/1000x1", {std::vector<std::size_t>(1000, 1)});
    register_shape("transpose/mixed", {{1, 1, 1, 1, 1, 3}});
    register_shape("transpose/1x1000", {{1000}});
}

} // namespace logging2::core::bench
