#include <benchmarks/micro/registrations.hpp>
#include <benchmarks/micro/timing.hpp>

namespace logging2::core::bench {
namespace {

/// Removes the writer's files, by creating and destroying their readers.
void remove_files(const NativeStreamWriter& writer, const GroupShape& group) {
    for (std::size_t channel = 0; channel < group.widths.size(); ++channel) {
        const NativeStreamReader reader(writer.dataStore(path_of(0, channel)));
    }
}

/// Does nothing, because the other writers have no files.
void remove_files(const StreamWriter&, const GroupShape&) {}

/// Flushes a new writer with a million doubles in each iteration. Rings are full and hold all of
/// them.
template <class Writer>
void flush(benchmark::State& state) {
    const std::size_t width = argument(state);
    const Rows rows(scalars(width, steps_for_width(width)));
    for (auto _ : state) {
        auto writer = make_writer<Writer>(rows.workload(), rows.workload().stepCount);
        write_all(writer, rows);
        time_once(state, [&] { writer.flush(); });
        remove_files(writer, rows.workload().groups[0]);
    }
    count_rows(state, rows.workload().rowCount());
}

template <class Writer>
void register_for(const char* name) {
    auto* const family = benchmark::RegisterBenchmark(name, flush<Writer>);
    family->Arg(1)->Arg(8)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

} // namespace

void register_flush() {
    register_for<MemoryStreamWriter>("flush/memory");
    register_for<MemoryStreamRestrictedWriter>("flush/memory-restricted");
    register_for<NativeStreamWriter>("flush/native");
}

} // namespace logging2::core::bench
