#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <cstdint>
#include <cstring>

namespace logging2::core::bench {
namespace {

std::uint64_t bits_of(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// Reads one value of each row. This is the cost of producing the rows, which every contender has.
/// The bits are mixed instead of adding the values, because each addition would wait for the
/// previous one.
class LoopAlone : public Contender {
public:
    using Contender::Contender;

    void run() override { found = mixed(); }

    std::size_t check() override {
        if (found != mixed()) {
            throw Mismatch("the mixed bits differ");
        }
        return 0;
    }

private:
    std::uint64_t mixed() const {
        std::uint64_t bits = 0;
        rows.forEach([&bits](std::size_t, double time, const double* values, std::size_t) {
            bits ^= bits_of(time) ^ bits_of(values[0]);
        });
        return bits;
    }

    std::uint64_t found = 0;
};

[[maybe_unused]] const bool added = add_contender<LoopAlone>("loop", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
