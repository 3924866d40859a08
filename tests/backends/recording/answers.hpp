#pragma once

#include <tests/backends/recording/recordings.hpp>

#include <ostream>
#include <sstream>

namespace logging2::core::test {

inline void print(std::ostream& text, const RunInfo& info) {
    text << info.id << info.name << static_cast<int>(info.state)
         << info.start.time_since_epoch().count() << info.revision
         << ::testing::PrintToString(info.properties) << info.host << info.process
         << info.libraryVersion;
    if (info.end) {
        text << info.end->time_since_epoch().count();
    }
}

inline void print(std::ostream& text, const std::vector<GroupInfo>& groups) {
    for (const GroupInfo& group : groups) {
        text << group.id << ' ' << group.stepCount << ' ' << group.firstTime.value_or(nan) << ' '
             << group.lastTime.value_or(nan) << '\n';
    }
}

inline void print(std::ostream& text, const std::vector<SignalInfo>& signals) {
    for (const SignalInfo& signal : signals) {
        text << signal.path << ' ' << signal.group << ' ' << signal.channel << ' ' << signal.width
             << '\n';
    }
}

inline void print(std::ostream& text, const DoubleView& view) {
    for (const double value : view) {
        text << value << ' ';
    }
    text << '\n';
}

inline void print(std::ostream& text, const Series& series) {
    text << series.width() << '\n';
    print(text, series.times());
    print(text, series.values());
}

inline void print(std::ostream& text, const Overview& overview) {
    text << ::testing::PrintToString(overview.least) << ::testing::PrintToString(overview.greatest)
         << ::testing::PrintToString(overview.nanCount)
         << ::testing::PrintToString(overview.sampleCount);
}

inline void print(std::ostream& text, const Outline& outline) {
    for (const OutlineBucket& bucket : outline) {
        text << bucket.sampleCount << ' ' << bucket.firstTime << ' ' << bucket.first << ' '
             << bucket.lastTime << ' ' << bucket.last << ' ' << bucket.least << ' '
             << bucket.greatest << ' ' << bucket.hasNan << bucket.hasPositiveInfinity
             << bucket.hasNegativeInfinity << '\n';
    }
}

inline void print(std::ostream& text, const SignalSummary& summary) {
    text << summary.sampleCount << ' ' << summary.leastTime.value_or(nan) << ' '
         << summary.greatestTime.value_or(nan) << ' ' << summary.byteCount << ' '
         << ::testing::PrintToString(summary.least) << ::testing::PrintToString(summary.greatest)
         << ::testing::PrintToString(summary.nanCount);
}

/// The answers to all questions about a recording with the signals "x" and "v", each as a text of
/// its own. An answer that is an error is empty.
inline std::vector<std::string> answers_of(const std::string& location) {
    std::vector<std::string> result;
    std::unique_ptr<core::Run> run;
    const auto ask = [&](auto question) {
        std::ostringstream text;
        text.precision(17);
        try {
            if (!run) {
                run = open_recording(location);
            }
            question(text);
            result.push_back(text.str());
        } catch (const RecordingError&) {
            result.emplace_back();
        }
    };
    ask([&](std::ostream& text) { print(text, run->info()); });
    ask([&](std::ostream& text) { print(text, run->groups()); });
    ask([&](std::ostream& text) { print(text, run->signals()); });
    for (const char* path : {"x", "v"}) {
        const ValuePath signal(path);
        ask([&](std::ostream& text) { print(text, run->series(signal)); });
        ask([&](std::ostream& text) { print(text, run->series(signal, 10.0, 20.0)); });
        ask([&](std::ostream& text) { print(text, run->series(signal, 50.0, 65.0)); });
        ask([&](std::ostream& text) { print(text, run->series(signal, StepRange{1, 2})); });
        ask([&](std::ostream& text) { print(text, run->summary(signal)); });
        ask([&](std::ostream& text) { print(text, run->overview(signal, 0.0, 70.0, 9)); });
        ask([&](std::ostream& text) { print(text, run->outline(signal, 0, 0.0, 70.0, 9)); });
    }
    return result;
}

} // namespace logging2::core::test
