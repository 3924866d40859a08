#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// Throws std::invalid_argument unless [from, to] can be divided into so many buckets, with
/// `width` numbers each.
inline void check_buckets(double from, double to, std::size_t bucketCount, std::size_t width) {
    if (bucketCount == 0 || !std::isfinite(from) || !std::isfinite(to) || from > to) {
        throw std::invalid_argument("an overview needs a finite range of time that does not end "
                                    "before it begins, and at least one bucket");
    }
    const std::size_t greatest = std::vector<double>().max_size() / std::max(width, std::size_t{1});
    if (bucketCount > greatest) {
        throw std::invalid_argument("an overview has at most " + std::to_string(greatest) +
                                    " buckets");
    }
}

} // namespace logging2::core::detail
