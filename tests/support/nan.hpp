#pragma once

#include <limits>

namespace logging2 {

inline constexpr double nan = std::numeric_limits<double>::quiet_NaN();

} // namespace logging2
