#pragma once

#include <cstddef>
#include <cstdint>

namespace logging2::core::test {

/// The time of a row is its number, so that a file shows which rows it holds.
inline double time_of(std::size_t row) {
    return static_cast<double>(row);
}

/// The row's number, mixed by the finalizer of SplitMix64 to the 52 bits that fit a double, so that
/// a misplaced row is detected.
inline double value_of(std::size_t row) {
    std::uint64_t x = row + 0x9e3779b97f4a7c15U;
    x = (x ^ (x >> 30U)) * 0xbf58476d1ce4e5b9U;
    x = (x ^ (x >> 27U)) * 0x94d049bb133111ebU;
    return static_cast<double>((x ^ (x >> 31U)) >> 12U);
}

} // namespace logging2::core::test
