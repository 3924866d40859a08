#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <algorithm>
#include <cstring>

namespace logging2::core::bench {
namespace {

enum class Memory { fresh, touched };

/// All bytes copied to one block of their size, row after row: no memory is looked for, none grows.
class CopiedBytes : public Contender {
public:
    CopiedBytes(const Rows& workloadRows, Memory kind)
        : rows(workloadRows),
          memory(kind),
          valueCount(rows.workload().byteCount() / sizeof(double)),
          block(new double[valueCount]) {}

    void prepare() override {
        if (memory == Memory::touched) {
            std::fill_n(block.get(), valueCount, 1.0);
        }
    }

    void run() override {
        double* end = block.get();
        rows.forEach([&](std::size_t, double time, const double* values, std::size_t n) {
            *end++ = time;
            std::memcpy(end, values, n * sizeof(double));
            end += n;
        });
    }

    std::size_t check() override {
        const double* row = block.get();
        for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
            for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
                check_row(rows, group, step, row[0], row + 1);
                row += rows.workload().groups[group].valueCount() + 1;
            }
        }
        return 0;
    }

private:
    const Rows& rows;
    Memory memory;
    std::size_t valueCount;
    std::unique_ptr<double[]> block;
};

} // namespace

std::unique_ptr<Contender> make_copy_to_fresh(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<CopiedBytes>(rows, Memory::fresh);
}

std::unique_ptr<Contender> make_copy_to_touched(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<CopiedBytes>(rows, Memory::touched);
}

} // namespace logging2::core::bench
