#pragma once

#include <benchmarks/workload/Rows.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>

namespace logging2::core::bench {

/// Returns a workload of one group with so many scalars and steps.
inline Workload scalars(std::size_t channelCount, std::size_t stepCount) {
    return {"", {{std::vector<std::size_t>(channelCount, 1)}}, stepCount};
}

/// Returns the number of steps with which a million doubles are stored, times and values together.
inline std::size_t steps_for_width(std::size_t width) {
    return (std::size_t{1} << 20) / (width + 1);
}

/// Measures only the function, without the preparations of the iteration.
template <class Function>
void time_once(benchmark::State& state, Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
}

/// Adds the time per row to the report, which has the time per iteration.
inline void count_rows(benchmark::State& state, std::size_t rowCount) {
    state.counters["per_row"] = benchmark::Counter(static_cast<double>(rowCount),
                                                   benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert);
}

inline std::size_t argument(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

/// Returns a new writer. If it has rings, they keep pointLimit steps.
template <class Writer>
Writer make_writer(const Workload& workload, std::size_t pointLimit) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    return Writer(attributes, setup_of(workload));
}

} // namespace logging2::core::bench
