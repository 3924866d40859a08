#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <deque>
#include <vector>

namespace logging2::core::bench {
namespace {

using Row = std::shared_ptr<std::vector<double>>;

struct GroupRows {
    std::vector<double> times;
    std::deque<Row> rows;
    std::vector<std::vector<double>> columns;
};

/// The data structures of the memory writer without the writer. For each sample, it appends the
/// time and a new row. At the end, it makes columns of the final size and fills them in one pass
/// over rows and channels; each row is freed as soon as it was distributed.
class BareModel : public Contender {
public:
    using Contender::Contender;

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            groups[group].times.push_back(time);
            groups[group].rows.push_back(std::make_shared<std::vector<double>>(values, values + n));
        });
    }

    void finish() override {
        for (std::size_t group = 0; group < groups.size(); ++group) {
            distribute(groups[group], rows.workload().groups[group].widths);
        }
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < groups.size(); ++group) {
            for (std::size_t channel = 0; channel < groups[group].columns.size(); ++channel) {
                check_column(rows, {group, channel}, groups[group].times,
                             groups[group].columns[channel], rows.workload().stepCount);
            }
        }
        return 0;
    }

private:
    static void distribute(GroupRows& group, const std::vector<std::size_t>& widths) {
        group.columns.resize(widths.size());
        for (std::size_t k = 0; k < widths.size(); ++k) {
            group.columns[k].reserve(group.times.size() * widths[k]);
        }
        for (; !group.rows.empty(); group.rows.pop_front()) {
            auto value = group.rows.front()->cbegin();
            for (std::size_t k = 0; k < widths.size(); ++k) {
                const auto end = value + static_cast<std::ptrdiff_t>(widths[k]);
                group.columns[k].insert(group.columns[k].end(), value, end);
                value = end;
            }
        }
    }

    std::vector<GroupRows> groups = std::vector<GroupRows>(rows.workload().groups.size());
};

[[maybe_unused]] const bool added = add_contender<BareModel>("bare-model", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
