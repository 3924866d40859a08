#pragma once

#include <cstddef>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace logging2::core::test {

/// The library's behaviour differs from the expected one. An exception, so that the run's files are
/// removed during unwinding.
class Difference : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// Throws a Difference with a message made of the parts if `holds` is false.
template <class... Parts>
void expect(bool holds, const Parts&... what) {
    if (!holds) {
        std::ostringstream message;
        message.precision(17);
        (message << ... << what);
        throw Difference(message.str());
    }
}

template <class Actual, class Expected, class... Parts>
void expectEqual(const Actual& actual, const Expected& expected, const Parts&... what) {
    expect(actual == expected, what..., " is ", actual, ", not ", expected);
}

/// The index of the first difference in bits between two lists of the same length; their length if
/// there is none.
inline std::size_t firstDifference(const std::vector<double>& actual,
                                   const std::vector<double>& expected) {
    const auto differ = [&](std::size_t from, std::size_t count) {
        return std::memcmp(&actual[from], &expected[from], count * sizeof(double)) != 0;
    };
    if (actual.empty() || !differ(0, actual.size())) {
        return actual.size();
    }
    std::size_t place = 0;
    while (!differ(place, 1)) {
        ++place;
    }
    return place;
}

/// Compares bit for bit, so that NaN equals itself and -0.0 differs from 0.0.
template <class... Parts>
void expectSameBits(const std::vector<double>& actual, const std::vector<double>& expected,
                    const Parts&... what) {
    expectEqual(actual.size(), expected.size(), "number of values: ", what...);
    if (const std::size_t i = firstDifference(actual, expected); i < actual.size()) {
        expect(false, what..., ": value ", i, " is ", actual[i], ", not ", expected[i]);
    }
}

/// Expects the call to throw the exception or one that is derived from it.
template <class Exception, class Call, class... Parts>
void expectThrows(const Call& call, const Parts&... what) {
    try {
        call();
    } catch (const Exception&) {
        return;
    }
    expect(false, what..., " throws nothing");
}

} // namespace logging2::core::test
