#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <algorithm>
#include <cstring>

namespace logging2::core::bench {
namespace {

enum class Memory { fresh, touched };

/// Copies all bytes to one block of their total size, row after row. No memory is allocated or
/// grows meanwhile.
class CopiedBytes : public Contender {
public:
    CopiedBytes(const Rows& workloadRows, const std::filesystem::path& emptyDirectory, Memory kind)
        : Contender(workloadRows, emptyDirectory),
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
        check_rows(rows, block.get());
        return 0;
    }

private:
    Memory memory;
    std::size_t valueCount;
    std::unique_ptr<double[]> block;
};

[[maybe_unused]] const bool addedFresh =
    add_contender<CopiedBytes>("copy-fresh", Suits::anyGroups, Memory::fresh);
[[maybe_unused]] const bool addedTouched =
    add_contender<CopiedBytes>("copy-touched", Suits::anyGroups, Memory::touched);

} // namespace
} // namespace logging2::core::bench
