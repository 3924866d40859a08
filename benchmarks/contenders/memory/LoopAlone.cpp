#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/checks.hpp>

namespace logging2::core::bench {
namespace {

/// Looks at one value of each row: what handing the rows out costs every contender.
class LoopAlone : public Contender {
public:
    explicit LoopAlone(const Rows& workloadRows) : rows(workloadRows) {}

    void run() override {
        rows.forEach([this](std::size_t, double time, const double* values, std::size_t) {
            sum += time + values[0];
        });
    }

    std::size_t check() override {
        double expected = 0;
        rows.forEach([&](std::size_t, double time, const double* values, std::size_t) {
            expected += time + values[0];
        });
        if (sum != expected) {
            throw Mismatch("the sum differs");
        }
        return 0;
    }

private:
    const Rows& rows;
    double sum = 0;
};

} // namespace

std::unique_ptr<Contender> make_loop_alone(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<LoopAlone>(rows);
}

} // namespace logging2::core::bench
