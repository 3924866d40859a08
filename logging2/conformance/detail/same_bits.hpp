#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace logging2::core::test {

/// Compares bit for bit, so that NaN equals itself and -0.0 differs from 0.0.
inline ::testing::AssertionResult sameBits(const std::vector<double>& actual,
                                           const std::vector<double>& expected) {
    const auto differ =
        std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end(),
                      [](double a, double b) { return std::memcmp(&a, &b, sizeof(double)) == 0; });
    if (differ.first == actual.end() && differ.second == expected.end()) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << ::testing::PrintToString(actual) << " is not " << ::testing::PrintToString(expected)
           << "; the first difference is at index " << differ.first - actual.begin()
           << "; there are " << actual.size() << " values, and " << expected.size()
           << " were expected";
}

} // namespace logging2::core::test
