#pragma once

#include <tests/backends/recording/recordings.hpp>

namespace logging2::core::test {

/// Both runs have the same samples of the same signals, bit for bit.
inline void expectSameSamples(const core::Run& actual, const core::Run& expected) {
    const auto signals = expected.signals();
    ASSERT_EQ(actual.signals().size(), signals.size());
    for (std::size_t s = 0; s < signals.size(); ++s) {
        const SignalInfo& signal = signals[s];
        SCOPED_TRACE(signal.path.text());
        EXPECT_EQ(actual.signals()[s].path, signal.path);
        EXPECT_EQ(actual.signals()[s].group, signal.group);
        EXPECT_EQ(actual.signals()[s].channel, signal.channel);
        const Series found = actual.series(signal.path);
        const Series wanted = expected.series(signal.path);
        EXPECT_EQ(found.width(), wanted.size() == 0 ? found.width() : wanted.width());
        EXPECT_TRUE(sameBits(doubles(found.times()), doubles(wanted.times())));
        EXPECT_TRUE(sameBits(doubles(found.values()), doubles(wanted.values())));
    }
}

/// What is known about the runs from their start on is the same, and the revision.
inline void expectSameStart(const RunInfo& actual, const RunInfo& expected) {
    EXPECT_EQ(actual.id, expected.id);
    EXPECT_EQ(actual.name, expected.name);
    EXPECT_EQ(actual.start, expected.start);
    EXPECT_EQ(actual.properties, expected.properties);
    EXPECT_EQ(actual.revision, expected.revision);
    EXPECT_EQ(actual.host, expected.host);
    EXPECT_EQ(actual.process, expected.process);
    EXPECT_EQ(actual.libraryVersion, expected.libraryVersion);
}

} // namespace logging2::core::test
