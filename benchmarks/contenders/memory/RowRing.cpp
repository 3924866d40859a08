#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/contenders/memory/ring_size.hpp>

#include <boost/circular_buffer.hpp>

#include <vector>

namespace logging2::core::bench {
namespace {

struct Sample {
    double time;
    std::vector<double> values;
};

/// One ring of rows per group. It is timed after the rings are full.
class RowRing : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        rows.forFirst(ringSize, [this](std::size_t group, double time, const double* values,
                                       std::size_t n) { push(group, time, values, n); });
    }

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            push(group, time, values, n);
        });
    }

    std::size_t check() override {
        const std::size_t firstStep = rows.workload().stepCount - ringSize;
        for (std::size_t group = 0; group < rings.size(); ++group) {
            check_count(rings[group].size(), ringSize);
            for (std::size_t i = 0; i < ringSize; ++i) {
                const Sample& sample = rings[group][i];
                check_row(rows, group, firstStep + i, sample.time, sample.values.data());
            }
        }
        return 0;
    }

private:
    void push(std::size_t group, double time, const double* values, std::size_t n) {
        rings[group].push_back(Sample{time, std::vector<double>(values, values + n)});
    }

    std::size_t ringSize = ring_size(rows.workload());
    std::vector<boost::circular_buffer<Sample>> rings{rows.workload().groups.size(),
                                                      boost::circular_buffer<Sample>(ringSize)};
};

[[maybe_unused]] const bool added = add_contender<RowRing>("row-ring", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
