#include <benchmarks/instructions/counted.hpp>

namespace logging2::core::bench {

[[gnu::noinline]] void counted_section(StreamWriter& writer) {
    writer.flush();
}

} // namespace logging2::core::bench

int main() {
    using namespace logging2::core;
    const bench::Rows rows(bench::counted_workload());
    MemoryStreamWriter writer({}, bench::setup_of(rows.workload()));
    bench::write_all(writer, rows);
    bench::counted_section(writer);
}
