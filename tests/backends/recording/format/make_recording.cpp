#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/setups.hpp>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <string>

#include <unistd.h>

// make_recording DIRECTORY finished: makes a recording with known values, and prints where it is.
// make_recording DIRECTORY packed: the same with packed chunks.
// make_recording DIRECTORY running: the same for a short one, which is not flushed, and then waits
// to be killed. format_test.py compares all of them with the same formulas.

namespace {

using namespace logging2::core;
using namespace logging2::core::test;

constexpr std::size_t ball = 0;
constexpr std::size_t motor = 70000;

GroupSetup known_setup() {
    return GroupSetup{
        {Group(ball),
         LoggedPathsSetupData(
             paths({{"ball.height", 7}, {"ball.position", 9}, {"ball.h", 7}, {"ball.noise", 10}}),
             channels({{7, 1}, {9, 3}, {10, 1}}))},
        {Group(5), LoggedPathsSetupData(paths({{"idle.value", 1}}), channels({{1, 2}}))},
        {Group(motor), LoggedPathsSetupData(paths({{"motor.speed", 3}, {"motor.nothing", 2}}),
                                            channels({{2, 0}, {3, 1}}))}};
}

RecordingOptions known_options(const std::string& directory) {
    RecordingOptions options;
    options.directory = directory;
    options.properties = {{"model", "bouncing ball, 100 %"}, {"note", ""}};
    // Chunks with trees of three levels in the first group.
    options.chunkByteCount = std::size_t{512} * 1024;
    return options;
}

/// A number below 1 that resembles none of its neighbours.
double noise_of(std::uint64_t number) {
    number *= 0x9e3779b97f4a7c15;
    number = (number ^ (number >> 29)) * 0xbf58476d1ce4e5b9;
    return static_cast<double>(number >> 11) * 0x1p-53;
}

/// The height is the number of the step plus the offset, and NaN at every thousandth step.
void write_balls(StreamWriter& writer, std::size_t first, std::size_t end, double offset) {
    for (std::size_t i = first; i < end; ++i) {
        const auto x = static_cast<double>(i);
        const double height = i % 1000 == 0 ? std::numeric_limits<double>::quiet_NaN() : x + offset;
        write(writer, ball, 0.5 * x, {height, x, -x, 0.25 * x, noise_of(i)});
    }
}

/// 30,000 steps, of which 20,000 stay, and 5,000 others in their place.
void make_finished(RecordingStreamWriter& writer) {
    write_balls(writer, 0, 30000, 0);
    for (int i = 0; i < 100; ++i) {
        write(writer, motor, i / 8 * 8, {-1.0 * i});
    }
    writer.flushIntermediate();
    writer.rollback(ball, 0.5 * 19999);
    write_balls(writer, 20000, 25000, 1e6);
    writer.flush();
}

/// 60 steps that are shown at once, and 40 of which 16 are held back.
[[noreturn]] void make_running(RecordingStreamWriter& writer) {
    write_balls(writer, 0, 60, 0);
    writer.flushIntermediate();
    write_balls(writer, 60, 100, 0);
    for (;;) {
        pause();
    }
}

} // namespace

int main(int, char** arguments) {
    try {
        const std::string mode = arguments[2];
        const bool isLeftRunning = mode == "running";
        RecordingOptions options = known_options(arguments[1]);
        options.compression = mode == "packed" ? Compression::lz4 : Compression::none;
        if (isLeftRunning) {
            options.commitInterval = std::chrono::milliseconds(10);
        }
        StreamingAttributes attributes;
        attributes.name = BasicTableString<char>("format test");
        RecordingStreamWriter writer(attributes, known_setup(), options);
        std::cout << writer.location() << std::endl;
        if (isLeftRunning) {
            make_running(writer);
        }
        make_finished(writer);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "make_recording: " << error.what() << '\n';
        return 1;
    }
}
