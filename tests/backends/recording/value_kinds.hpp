#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace logging2::core::test {

inline double double_of_bits(std::uint64_t bits) {
    double result = 0;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

/// Values as hosts log them, and values that are hard to keep.
inline const std::vector<const char*>& value_kinds() {
    static const std::vector<const char*> kinds{"constant", "regular times", "smooth",  "steps",
                                                "noise",    "special",       "any bits"};
    return kinds;
}

inline std::vector<double> values_of_kind(const std::string& kind, std::size_t count) {
    // NaN with a payload, a signalling one, a negative one, and the least and greatest numbers.
    static const std::vector<double> special{double_of_bits(0x7ff8000000000000),
                                             double_of_bits(0x7ff800000000beef),
                                             double_of_bits(0x7ff0000000000001),
                                             double_of_bits(0xfff8000000000123),
                                             double_of_bits(0x0000000000000001),
                                             std::numeric_limits<double>::infinity(),
                                             -std::numeric_limits<double>::infinity(),
                                             -0.0,
                                             0.0,
                                             std::numeric_limits<double>::max(),
                                             std::numeric_limits<double>::lowest()};
    std::mt19937_64 random(1);
    std::vector<double> values;
    for (std::size_t i = 0; i < count; ++i) {
        const auto x = static_cast<double>(i);
        values.push_back(kind == "constant"        ? 2.5
                         : kind == "regular times" ? 0.001 * x
                         : kind == "smooth"        ? std::sin(0.0001 * x)
                         : kind == "steps"         ? static_cast<double>(i / 100 % 2)
                         : kind == "noise"         ? static_cast<double>(random() >> 11) * 0x1p-53
                         : kind == "special"       ? special[random() % special.size()]
                                                   : double_of_bits(random()));
    }
    return values;
}

} // namespace logging2::core::test
