#pragma once

#include <tests/fuzz/ByteScript.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace logging2::core::test {

/// Rows that need no bytes of the script. Every double has different bits, including NaN payloads,
/// so that misplaced values are detected.
class RowSource {
public:
    std::vector<double> row(std::size_t length) {
        std::vector<double> values(length);
        for (double& value : values) {
            value = ByteScript::doubleOf(++count * oddFactor);
        }
        return values;
    }

private:
    static constexpr std::uint64_t oddFactor = 0x9E3779B97F4A7C15U;

    std::uint64_t count = 0;
};

} // namespace logging2::core::test
