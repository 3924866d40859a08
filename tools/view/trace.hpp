#pragma once

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// So many pixels fit an answer of 200 kB: steps with 16 bytes, and fewer than four per pixel.
constexpr std::size_t greatestTracePixelCount = 3'000;

/// Which piece of a signal is drawn, and on how many pixels.
struct TraceRange {
    double from;
    double to;
    std::size_t pixels;
};

/// A step beside the range; the time is NaN if there is none.
struct Neighbour {
    double time = std::numeric_limits<double>::quiet_NaN();
    double value = std::numeric_limits<double>::quiet_NaN();
};

/// One element of a signal as it is drawn.
struct Trace {
    bool isAggregate = false;
    std::vector<Neighbour> steps; ///< if it is no aggregate
    core::Outline outline;        ///< if it is one: the buckets that have samples
    std::uint64_t revision = 0;
    Neighbour before;
    Neighbour after;
    std::size_t stepCount = 0; ///< within the range
};

/// The range widened such that its pixels begin at multiples of their length, which has few digits
/// in binary notation. So pixels stay where they are if the range is moved. The range stays as it
/// is if numbers of this size cannot be told apart finely enough.
TraceRange aligned_range(const TraceRange& range);

/// Reads what is drawn. Costs as much as there are pixels, not as there are steps. Throws HttpError
/// with status 404 if the run has no such signal or element.
Trace trace_of(const core::Run& run, const std::string& signal, std::size_t element,
               const TraceRange& range);

/// The trace as bytes for the page.
std::string trace_bytes(const Trace& trace);

} // namespace logging2::tools::view
