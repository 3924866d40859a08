#pragma once

#include <benchmarks/workload/Rows.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>

namespace logging2::core::bench {

/// One group of that many scalars and that many steps.
inline Workload scalars(std::size_t channelCount, std::size_t stepCount) {
    return {"", {{std::vector<std::size_t>(channelCount, 1)}}, stepCount};
}

/// Steps such that a million doubles are stored, times and values together.
inline std::size_t steps_for_width(std::size_t width) {
    return (std::size_t{1} << 20) / (width + 1);
}

/// Times the function alone, however long it takes to get ready for it.
template <class Function>
void time_once(benchmark::State& state, Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
}

/// Shows the time per row beside the time per iteration.
inline void count_rows(benchmark::State& state, std::size_t rowCount) {
    state.counters["per_row"] = benchmark::Counter(static_cast<double>(rowCount),
                                                   benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert);
}

inline std::size_t argument(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

/// Rings of a writer that has some keep pointLimit steps.
template <class Writer>
Writer make_writer(const Workload& workload, std::size_t pointLimit) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    return Writer(attributes, setup_of(workload));
}

} // namespace logging2::core::bench
