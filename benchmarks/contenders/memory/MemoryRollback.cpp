#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

namespace logging2::core::bench {
namespace {

/// Undoes steps of a memory writer that holds the rows of a workload with one group.
class MemoryRollback : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            writer.write(group, time, values, n);
        });
    }

    std::size_t check() override {
        check_count(writer.numSteps(0), stepsLeft());
        return 0;
    }

protected:
    virtual std::size_t stepsLeft() const = 0;

    MemoryStreamWriter writer{{}, setup_of(rows.workload())};
};

/// Undoes only the last step.
class RollbackByTime : public MemoryRollback {
public:
    using MemoryRollback::MemoryRollback;
    void run() override { writer.rollback(0, Rows::time(rows.workload().stepCount - 2)); }

protected:
    std::size_t stepsLeft() const override { return rows.workload().stepCount - 1; }
};

/// Undoes all steps except the first.
class RollbackByCount : public MemoryRollback {
public:
    using MemoryRollback::MemoryRollback;
    void run() override { writer.rollback(0, rows.workload().stepCount - 1); }

protected:
    std::size_t stepsLeft() const override { return 1; }
};

[[maybe_unused]] const bool addedByTime =
    add_contender<RollbackByTime>("rollback-time", Suits::oneGroup);
[[maybe_unused]] const bool addedByCount =
    add_contender<RollbackByCount>("rollback-count", Suits::oneGroup);

} // namespace
} // namespace logging2::core::bench
