#pragma once

#include <tools/compare/Comparison.hpp>
#include <tools/compare/SampleSource.hpp>

#include <cstddef>

namespace logging2::tools {

/// Compares two signals of the same width step by step: the bits of the times and of the values. A
/// step that only one side has is a difference of all elements.
Comparison compare_exactly(SampleSource& a, SampleSource& b, std::size_t width);

} // namespace logging2::tools
