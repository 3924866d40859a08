#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The content of the files after the batches of these numbers, each with rowCount rows. Row r has
/// the time r, the scalar 10 r and the pair 100 r, 100 r + 1.
class Batches {
public:
    Batches(std::initializer_list<std::size_t> numbers, std::size_t rowCount) {
        for (const std::size_t number : numbers) {
            for (std::size_t row = number * rowCount; row < (number + 1) * rowCount; ++row) {
                append(static_cast<double>(row));
            }
        }
    }

    std::vector<double> times;
    std::vector<double> scalars;
    std::vector<double> pairs;

private:
    void append(double row) {
        times.push_back(row);
        scalars.push_back(10.0 * row);
        pairs.insert(pairs.end(), {100.0 * row, 100.0 * row + 1.0});
    }
};

inline std::string asBytes(const std::vector<double>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double)};
}

} // namespace logging2::core::test
