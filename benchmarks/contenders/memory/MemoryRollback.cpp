#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/workload/library_setup.hpp>

namespace logging2::core::bench {
namespace {

/// Takes steps back from a memory writer that holds the rows of a workload with one group.
class MemoryRollback : public Contender {
public:
    explicit MemoryRollback(const Rows& workloadRows)
        : rows(workloadRows),
          writer({}, setup_of(rows.workload())) {}

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

    const Rows& rows;
    MemoryStreamWriter writer;
};

/// Scans all times and drops only the last step.
class RollbackByTime : public MemoryRollback {
public:
    using MemoryRollback::MemoryRollback;
    void run() override { writer.rollback(0, Rows::time(rows.workload().stepCount - 2)); }

protected:
    std::size_t stepsLeft() const override { return rows.workload().stepCount - 1; }
};

/// Drops all steps but the first.
class RollbackByCount : public MemoryRollback {
public:
    using MemoryRollback::MemoryRollback;
    void run() override { writer.rollback(0, rows.workload().stepCount - 1); }

protected:
    std::size_t stepsLeft() const override { return 1; }
};

} // namespace

std::unique_ptr<Contender> make_rollback_by_time(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<RollbackByTime>(rows);
}

std::unique_ptr<Contender> make_rollback_by_count(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<RollbackByCount>(rows);
}

} // namespace logging2::core::bench
