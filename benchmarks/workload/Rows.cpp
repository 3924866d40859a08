#include <benchmarks/workload/Rows.hpp>

#include <random>

namespace logging2::core::bench {

std::vector<double> Rows::values_table(std::size_t count) {
    std::mt19937_64 source(1);
    std::vector<double> values(count);
    for (double& value : values) {
        value = static_cast<double>(source() >> 11) * 0x1p-53; // below 1, with every digit used
    }
    return values;
}

} // namespace logging2::core::bench
