#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace logging2::core::test {

/// Bit for bit, so that NaN equals itself and -0.0 is told from 0.0.
inline ::testing::AssertionResult sameBits(const std::vector<double>& actual,
                                           const std::vector<double>& expected) {
    const bool same = actual.size() == expected.size() &&
                      (actual.empty() || std::memcmp(actual.data(), expected.data(),
                                                     actual.size() * sizeof(double)) == 0);
    return same ? ::testing::AssertionSuccess()
                : ::testing::AssertionFailure() << ::testing::PrintToString(actual) << " is not "
                                                << ::testing::PrintToString(expected);
}

} // namespace logging2::core::test
