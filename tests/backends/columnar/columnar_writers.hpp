#pragma once

#include <logging2/backends/columnar/columnar.hpp>
#include <logging2/conformance/detail/same_bits.hpp>
#include <logging2/conformance/detail/setups.hpp>
#include <logging2/runs/runs.hpp>

#include <gmock/gmock.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

namespace logging2::core::test {

using Doubles = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

inline Doubles doubles(const DoubleView& view) {
    return {view.begin(), view.end()};
}

/// Attributes of a writer that obeys time regressions.
inline StreamingAttributes regressing() {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    return attributes;
}

/// A setup of group 0 with one channel of this width, which the path "x" shows. Rows of 500
/// doubles fill a first piece each.
inline GroupSetup wideSetup(std::size_t width) {
    return GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}}), channels({{0, width}}))}};
}

/// Writes a row of group 0 at each of the times, all of whose elements are ten times the time.
inline void writeTimes(StreamWriter& writer, const Doubles& times, std::size_t width = 1) {
    for (const double time : times) {
        write(writer, 0, time, Doubles(width, 10.0 * time));
    }
}

inline std::pair<Doubles, Doubles> stored(const StreamWriter& writer, const char* path = "x") {
    return ColumnarStreamReader(writer.dataStore(ValuePath(path))).timeseries();
}

/// The times that are stored for "x" after a flush.
inline Doubles storedTimes(StreamWriter& writer) {
    writer.flush();
    return stored(writer).first;
}

inline Doubles timesOf(const core::Run& run, const char* path = "x") {
    return doubles(run.series(ValuePath(path)).times());
}

/// 0, 1, ..., count - 1.
inline Doubles countedTimes(std::size_t count) {
    Doubles times(count);
    for (std::size_t i = 0; i < count; ++i) {
        times[i] = static_cast<double>(i);
    }
    return times;
}

} // namespace logging2::core::test
