#pragma once

#include <logging2/conformance/Backend.hpp>
#include <logging2/conformance/Promise.hpp>

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace logging2::core::conformance {

/// A back-end and one of the promises that it makes.
struct Case {
    Backend backend;
    Promise promise;
};
std::ostream& operator<<(std::ostream& stream, const Case& tested);

/// Runs one promise. The author of a back-end writes
///
///     INSTANTIATE_TEST_SUITE_P(MyBackend, ConformanceTest, testing::ValuesIn(cases_of(backend)),
///                              case_name);
class ConformanceTest : public testing::TestWithParam<Case> {};

/// Every promise that a back-end with such support makes.
std::vector<Case> cases_of(const Backend& backend);

/// The promise's name.
std::string case_name(const testing::TestParamInfo<Case>& tested);

} // namespace logging2::core::conformance
