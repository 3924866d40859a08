#pragma once

#include <logging2/runs/Series.hpp>

#include <cstddef>

namespace logging2::tools {

/// One sample of a signal.
struct Sample {
    double time = 0;
    core::DoubleView values; ///< as many as the signal is wide
    std::size_t step = 0;    ///< the number of the step in its group
};

/// Gives the samples of a signal, one after the other.
class SampleSource {
public:
    virtual ~SampleSource() = default;

    SampleSource() = default;
    SampleSource(const SampleSource&) = delete;
    SampleSource& operator=(const SampleSource&) = delete;

    /// The next sample, which is valid until the next call; null after the last one.
    virtual const Sample* next() = 0;
};

} // namespace logging2::tools
