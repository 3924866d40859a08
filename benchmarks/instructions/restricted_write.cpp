#include <benchmarks/instructions/counted.hpp>

namespace logging2::core::bench {

[[gnu::noinline]] void counted_section(StreamWriter& writer, const Rows& rows) {
    write_all(writer, rows);
}

} // namespace logging2::core::bench

int main() {
    using namespace logging2::core;
    const bench::Rows rows(bench::counted_workload());
    StreamingAttributes attributes;
    attributes.pointLimit = 1000;
    MemoryStreamRestrictedWriter writer(attributes, bench::setup_of(rows.workload()));
    bench::write_all(writer, rows); // fills the rings
    bench::counted_section(writer, rows);
}
