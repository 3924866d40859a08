#pragma once

#include <logging2/runs/export.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core {

/// A signal at a glance: the least and the greatest value in each of B intervals of time.
///
/// Bucket b holds the samples whose time t has bucket_of(t, from, to, B) == b. Samples whose time
/// is NaN or outside [from, to] are in no bucket. With w doubles per sample, the entry of element
/// e in bucket b is that of index b·w + e.
struct Overview {
    /// The least value of each bucket and element; +infinity if it has no number. B·w entries.
    std::vector<double> least;

    /// The greatest value of each bucket and element; -infinity if it has no number. B·w entries.
    std::vector<double> greatest;

    /// How many values of each bucket and element are NaN; those count neither as least nor as
    /// greatest. B·w entries.
    std::vector<std::size_t> nanCount;

    /// How many samples are in each bucket. B entries.
    std::vector<std::size_t> sampleCount;

    /// The number of doubles per sample, w.
    std::size_t width = 0;
};

/// The bucket of a time with from <= time <= to among bucketCount intervals of the same length: the
/// integer part of (time - from) / (to - from) · bucketCount, and the last bucket for the time
/// `to`. It never decreases while the time increases. If from equals to, it is 0.
LOGGING2_RUNS_EXPORT std::size_t bucket_of(double time, double from, double to,
                                           std::size_t bucketCount) noexcept;

} // namespace logging2::core
