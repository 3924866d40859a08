#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

namespace logging2::core::bench {
namespace {

/// Writes as many steps as are undone in each iteration, so that the memory is warm.
template <class TakeBack>
void roll_back(benchmark::State& state, TakeBack takeBack) {
    const std::size_t depth = argument(state);
    const Rows rows(scalars(8, depth));
    MemoryStreamWriter writer({}, setup_of(rows.workload()));
    writer.write(0, -1, rows.values(0, 0), 8); // stays
    for (auto _ : state) {
        write_all(writer, rows);
        time_once(state, [&] { takeBack(writer, depth); });
    }
    count_rows(state, depth);
}

void by_time(benchmark::State& state) {
    roll_back(state, [](MemoryStreamWriter& writer, std::size_t) { writer.rollback(0, -1.0); });
}

void by_count(benchmark::State& state) {
    roll_back(state,
              [](MemoryStreamWriter& writer, std::size_t depth) { writer.rollback(0, depth); });
}

/// Undoes only the last of the steps that the writer holds.
void scan(benchmark::State& state) {
    const std::size_t depth = argument(state);
    const Rows rows(scalars(8, depth));
    MemoryStreamWriter writer({}, setup_of(rows.workload()));
    write_all(writer, rows);
    const std::size_t last = depth - 1;
    for (auto _ : state) {
        time_once(state, [&] { writer.rollback(0, Rows::time(last) - 0.0001); });
        writer.write(0, Rows::time(last), rows.values(0, last), 8);
    }
    count_rows(state, depth);
}

void register_depths(const char* name, void (*function)(benchmark::State&)) {
    auto* const family = benchmark::RegisterBenchmark(name, function);
    family->RangeMultiplier(10)->Range(1, 1'000'000)->UseManualTime()->MinTime(0.02);
}

} // namespace

void register_rollback() {
    register_depths("rollback/by-time", by_time);
    register_depths("rollback/by-count", by_count);
    register_depths("rollback/scan-and-drop-one", scan);
}

} // namespace logging2::core::bench
