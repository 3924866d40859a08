#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <vector>

namespace logging2::core::bench {
namespace {

/// One vector per group that grows in the ordinary way; each row follows its time.
class FlatVector : public Contender {
public:
    explicit FlatVector(const Rows& workloadRows)
        : rows(workloadRows),
          groups(rows.workload().groups.size()) {}

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
    const Rows& rows;
    std::vector<std::vector<double>> groups;
};

} // namespace

std::unique_ptr<Contender> make_flat_vector(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<FlatVector>(rows);
}

} // namespace logging2::core::bench
