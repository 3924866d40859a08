#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/Companion.hpp>
#include <benchmarks/contenders/columnar/stored_columns.hpp>

#include <logging2/backends/columnar/columnar.hpp>

#include <time.h>

namespace logging2::core::bench {
namespace {

/// The processor time of this thread, which does not contain what other programs take.
double own_nanoseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

/// The back-end "columnar". Its result is the processor time of a written step, also if it is
/// rejected later.
class Columnar : public Contender {
public:
    using Contender::Contender;

    void run() final {
        const double start = own_nanoseconds();
        const std::size_t writtenCount = write();
        nanosecondsPerStep = (own_nanoseconds() - start) / static_cast<double>(writtenCount);
    }

    std::map<std::string, double> results() const override {
        return {{"cpu_ns_per_written_step", nanosecondsPerStep}};
    }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_columns<ColumnarStreamReader>(rows, *writer);
        return 0;
    }

protected:
    /// Returns the number of written rows.
    virtual std::size_t write() {
        write_all(*writer, rows);
        return rows.workload().rowCount();
    }

    // Behind a pointer, so that calls are virtual.
    std::unique_ptr<StreamWriter> writer =
        std::make_unique<ColumnarStreamWriter>(StreamingAttributes(), setup_of(rows.workload()));

private:
    double nanosecondsPerStep = 0;
};

/// The same, while another thread does the same with a writer of its own.
class ColumnarBeside final : public Columnar {
public:
    using Columnar::Columnar;

    void prepare() override {
        companion.start([this] {
            ColumnarStreamWriter second({}, setup_of(rows.workload()));
            for (std::size_t step = 0; step < rows.workload().stepCount && companion.goesOn();
                 ++step) {
                for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
                    second.write(group, Rows::time(step), rows.values(group, step),
                                 rows.workload().groups[group].valueCount());
                }
            }
        });
    }

private:
    std::size_t write() override {
        const std::size_t count = Columnar::write();
        companion.end();
        return count;
    }

    Companion companion;
};

/// One written step in four is rejected: every third step is first written with other values.
class ColumnarRejecting final : public Columnar {
public:
    using Columnar::Columnar;

private:
    std::size_t write() override {
        const std::size_t valueCount = rows.workload().widestRow();
        std::size_t writtenCount = rows.workload().stepCount;
        for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
            if (step % 3 == 2) {
                writer->write(0, Rows::time(step), rows.values(0, step + 1), valueCount);
                writer->rollback(0, Rows::time(step - 1));
                ++writtenCount;
            }
            writer->write(0, Rows::time(step), rows.values(0, step), valueCount);
        }
        return writtenCount;
    }
};

[[maybe_unused]] const bool added =
    add_contender<Columnar>("columnar", Suits::anyGroups) &&
    add_contender<ColumnarBeside>("columnar-beside", Suits::anyGroups) &&
    add_contender<ColumnarRejecting>("columnar-rejecting", Suits::oneGroup);

} // namespace
} // namespace logging2::core::bench
