#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <vector>

namespace logging2::core::bench {
namespace {

/// One vector per group, which grows in the ordinary way. Each row follows its time.
class FlatVector : public Contender {
public:
    using Contender::Contender;

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            groups[group].push_back(time);
            groups[group].insert(groups[group].end(), values, values + n);
        });
    }

    std::size_t check() override {
        const Workload& workload = rows.workload();
        for (std::size_t group = 0; group < groups.size(); ++group) {
            const std::size_t rowLength = workload.groups[group].valueCount() + 1;
            check_count(groups[group].size(), workload.stepCount * rowLength);
            for (std::size_t step = 0; step < workload.stepCount; ++step) {
                const double* row = groups[group].data() + step * rowLength;
                check_row(rows, group, step, row[0], row + 1);
            }
        }
        return 0;
    }

private:
    std::vector<std::vector<double>> groups{rows.workload().groups.size()};
};

[[maybe_unused]] const bool added = add_contender<FlatVector>("flat-vector", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
