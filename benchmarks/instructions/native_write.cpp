#include <benchmarks/instructions/counted.hpp>

namespace logging2::core::bench {

[[gnu::noinline]] void counted_section(StreamWriter& writer, const Rows& rows) {
    write_all(writer, rows);
}

} // namespace logging2::core::bench

int main() {
    using namespace logging2::core;
    const bench::Rows rows(bench::counted_workload());
    NativeStreamWriter writer({}, bench::setup_of(rows.workload()));
    bench::counted_section(writer, rows); // no buffer becomes full, so no flush is needed
}
