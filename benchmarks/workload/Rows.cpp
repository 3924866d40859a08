#include <benchmarks/workload/Rows.hpp>

#include <random>

namespace logging2::core::bench {

std::vector<double> Rows::values_table(std::size_t count) {
    std::mt19937_64 source(1);
    std::vector<double> values(count);
    for (double& value : values) {
        value = static_cast<double>(source() >> 11) * 0x1p-53; // every digit in use, below 1
    }
    return values;
}

} // namespace logging2::core::bench
