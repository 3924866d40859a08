#include <logging2/runs/Run.hpp>

#include <algorithm>

namespace logging2::core {

Run::~Run() = default;

std::size_t bucket_of(double time, double from, double to, std::size_t bucketCount) noexcept {
    if (!(from < to)) {
        return 0;
    }
    // Halved, because the difference of two finite numbers may be infinite.
    const double part = (time / 2 - from / 2) / (to / 2 - from / 2);
    const auto bucket = static_cast<std::size_t>(part * static_cast<double>(bucketCount));
    return std::min(bucket, bucketCount - 1);
}

} // namespace logging2::core
