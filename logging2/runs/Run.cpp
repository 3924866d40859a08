#include <logging2/runs/Run.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::core {

Run::~Run() = default;

std::vector<Series> Run::pieces(const lang::core::ValuePath& path) const {
    std::vector<Series> parts;
    const Series whole = series(path);
    if (whole.size() > 0) {
        parts.push_back(whole);
    }
    return parts;
}

std::size_t bucket_of(double time, double from, double to, std::size_t bucketCount) noexcept {
    if (!(from < to)) {
        return 0;
    }
    // Halved only if the difference of the two finite numbers is infinite: half of the smallest
    // number is 0.
    const double scale = std::isinf(to - from) ? 0.5 : 1.0;
    const double part = (time * scale - from * scale) / (to * scale - from * scale);
    const auto bucket = static_cast<std::size_t>(part * static_cast<double>(bucketCount));
    return std::min(bucket, bucketCount - 1);
}

} // namespace logging2::core
