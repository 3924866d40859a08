#include <benchmarks/instructions/counted.hpp>
#include <benchmarks/workload/batch.hpp>

#include <logging2/columns/append_rows.hpp>

#include <deque>

namespace logging2::core::bench {

[[gnu::noinline]] void counted_section(const std::vector<double>& batch,
                                       const detail::ChannelWidths& widths,
                                       std::deque<std::vector<double>>& columns) {
    detail::append_rows(batch, widths.size(), widths, columns);
}

} // namespace logging2::core::bench

int main() {
    using namespace logging2::core;
    const bench::Rows rows(bench::counted_workload());
    const std::vector<double> batch = bench::batch_of(rows);
    const detail::ChannelWidths& widths = rows.workload().groups[0].widths;
    std::deque<std::vector<double>> columns;
    bench::counted_section(batch, widths, columns);
}
