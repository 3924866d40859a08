#include <benchmarks/instructions/counted.hpp>
#include <benchmarks/workload/batch.hpp>

#include <logging2/native/detail/transpose.hpp>

#include <deque>

namespace logging2::core::bench {

[[gnu::noinline]] void counted_section(const std::vector<double>& batch, const RowLayout& layout,
                                       std::deque<std::vector<double>>& columns) {
    detail::append_rows(batch, layout.size(), layout, columns);
}

} // namespace logging2::core::bench

int main() {
    using namespace logging2::core;
    const bench::Rows rows(bench::counted_workload());
    const std::vector<double> batch = bench::batch_of(rows);
    const RowLayout layout = bench::layout_of(rows.workload().groups[0]);
    std::deque<std::vector<double>> columns;
    bench::counted_section(batch, layout, columns);
}
