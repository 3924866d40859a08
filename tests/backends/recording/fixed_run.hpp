#pragma once

#include <tests/backends/recording/recordings.hpp>

#include <cstddef>

// A run of twoGroups() that does everything a host can do, for tests in which something fails.

namespace logging2::core::test {

/// Three rows per chunk, and little room for rows that wait.
inline void use_small_buffers(RecordingOptions& options) {
    options.chunkByteCount = 3 * 5 * sizeof(double);
    options.bufferByteCount = 1000;
}

/// Full blocks, parts of blocks, and rollbacks to stored and to new steps, in two groups. Each call
/// of the writer is passed to `insist`, which repeats it until it works, but flushIntermediate to
/// `attempt`, which need not.
template <class Insist, class Attempt>
void live_fixed_run(StreamWriter& writer, Insist insist, Attempt attempt) {
    const auto writeTo = [&](std::size_t group, double time) {
        insist([&] {
            const Doubles row(group == 0 ? 1 : 4, 10.0 * time);
            writer.write(group, time, row.data(), row.size());
        });
    };
    for (int step = 0; step < 20; ++step) {
        writeTo(0, step);
        writeTo(5, step + 0.5);
        if (step == 6 || step == 13) {
            attempt([&] { writer.flushIntermediate(); });
        }
        if (step == 9 || step == 15) {
            insist([&] { writer.rollback(0, step - 5); });
            insist([&] { writer.rollback(5, step - 1); });
        }
    }
    insist([&] { writer.flush(); });
}

/// What the run leaves.
inline void expect_fixed_run(const core::Run& run) {
    using ::testing::ElementsAre;
    const auto timesOf = [&](const char* path) {
        return doubles(run.series(ValuePath(path)).times());
    };
    EXPECT_EQ(run.info().state, RunState::finished);
    EXPECT_THAT(timesOf("x"), ElementsAre(0, 1, 2, 3, 4, 10, 16, 17, 18, 19));
    EXPECT_THAT(timesOf("y"), ElementsAre(0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 10.5, 11.5, 12.5,
                                          13.5, 16.5, 17.5, 18.5, 19.5));
    EXPECT_THAT(doubles(run.series(ValuePath("x")).values()),
                ElementsAre(0, 10, 20, 30, 40, 100, 160, 170, 180, 190));
}

} // namespace logging2::core::test
