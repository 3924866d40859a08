#pragma once

#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/nan.hpp>

#include <logging2/conformance/detail/same_bits.hpp>
#include <logging2/conformance/detail/setups.hpp>
#include <logging2/runs/runs.hpp>

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace logging2::core::test {

using Doubles = std::vector<double>;

constexpr double infinity = std::numeric_limits<double>::infinity();

inline Doubles doubles(const DoubleView& view) {
    return {view.begin(), view.end()};
}

/// A writer's setup: the groups 0 and 5, with the scalar "x" and its alias "same", and with the
/// scalar "y", the triple "z", and "nothing" of width 0.
inline GroupSetup twoGroups() {
    return GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}, {"same", 1}}), channels({{1, 1}}))},
        {Group(5), LoggedPathsSetupData(paths({{"y", 7}, {"z", 2}, {"nothing", 3}}),
                                        channels({{7, 1}, {2, 3}, {3, 0}}))}};
}

/// Recordings in a directory of the test's own, which commit only when a chunk is full or a call
/// asks for it, and then show everything.
class RecordingTest : public ::testing::Test {
protected:
    RecordingTest() {
        options.directory = directory.path().string();
        options.commitInterval = std::chrono::hours(1);
        options.heldBackSteps = 0;
    }

    std::unique_ptr<RecordingStreamWriter>
    makeWriter(const GroupSetup& setup = scalarSetup(),
               const StreamingAttributes& attributes = StreamingAttributes()) const {
        return std::make_unique<RecordingStreamWriter>(attributes, setup, options);
    }

    static std::unique_ptr<core::Run> open(const RecordingStreamWriter& writer) {
        return open_recording(writer.location());
    }

    /// Writes one sample per time to the group 0, of scalarSetup(): ten times the time.
    static void writeTimes(StreamWriter& writer, const Doubles& times) {
        for (const double time : times) {
            write(writer, 0, time, {10.0 * time});
        }
    }

    static Doubles timesOf(const core::Run& run, const char* path = "x") {
        return doubles(run.series(ValuePath(path)).times());
    }

    static Doubles valuesOf(const core::Run& run, const char* path = "x") {
        return doubles(run.series(ValuePath(path)).values());
    }

    TemporaryDirectory directory;
    RecordingOptions options;
};

} // namespace logging2::core::test
