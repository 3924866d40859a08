#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/columnar/stored_columns.hpp>

#include <logging2/backends/columnar/columnar.hpp>

#include <atomic>
#include <thread>

namespace logging2::core::bench {
namespace {

/// The back-end "columnar".
class Columnar : public Contender {
public:
    using Contender::Contender;

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_columns<ColumnarStreamReader>(rows, *writer);
        return 0;
    }

protected:
    // Behind a pointer, so that calls are virtual.
    std::unique_ptr<StreamWriter> writer =
        std::make_unique<ColumnarStreamWriter>(StreamingAttributes(), setup_of(rows.workload()));
};

/// The same, while another thread does the same with a writer of its own.
class ColumnarBeside final : public Columnar {
public:
    using Columnar::Columnar;

    ~ColumnarBeside() override {
        isEnding = true;
        if (other.joinable()) {
            other.join();
        }
    }

    void prepare() override {
        other = std::thread([this] {
            while (!isEnding) {
                ColumnarStreamWriter second({}, setup_of(rows.workload()));
                isStarted = true;
                for (std::size_t step = 0; step < rows.workload().stepCount && !isEnding; ++step) {
                    for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
                        second.write(group, Rows::time(step), rows.values(group, step),
                                     rows.workload().groups[group].valueCount());
                    }
                }
            }
        });
        while (!isStarted) {
        }
    }

    void run() override {
        Columnar::run();
        isEnding = true;
    }

private:
    std::atomic<bool> isStarted{false};
    std::atomic<bool> isEnding{false};
    std::thread other;
};

/// Rejects every fourth step: it is first written with other values.
class ColumnarRejecting final : public Columnar {
public:
    using Columnar::Columnar;

    void run() override {
        const std::size_t valueCount = rows.workload().widestRow();
        for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
            if (step % 4 == 3) {
                writer->write(0, Rows::time(step), rows.values(0, step + 1), valueCount);
                writer->rollback(0, Rows::time(step - 1));
            }
            writer->write(0, Rows::time(step), rows.values(0, step), valueCount);
        }
    }
};

[[maybe_unused]] const bool added =
    add_contender<Columnar>("columnar", Suits::anyGroups) &&
    add_contender<ColumnarBeside>("columnar-beside", Suits::anyGroups) &&
    add_contender<ColumnarRejecting>("columnar-rejecting", Suits::oneGroup);

} // namespace
} // namespace logging2::core::bench
