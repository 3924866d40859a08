#pragma once

#include <cstddef>
#include <cstdint>

namespace logging2::core::test {

/// The time of a row is its number, so that a file tells which rows it holds.
inline double time_of(std::size_t row) {
    return static_cast<double>(row);
}

/// A value that no other row has, by a permutation of the row's number (the finalizer of
/// SplitMix64), of which 52 bits fit a double.
inline double value_of(std::size_t row) {
    std::uint64_t x = row + 0x9e3779b97f4a7c15U;
    x = (x ^ (x >> 30U)) * 0xbf58476d1ce4e5b9U;
    x = (x ^ (x >> 27U)) * 0x94d049bb133111ebU;
    return static_cast<double>((x ^ (x >> 31U)) >> 12U);
}

} // namespace logging2::core::test
