#include <tests/backends/recording/recordings.hpp>

#include <tests/support/files.hpp>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cmath>
#include <filesystem>

// This executable counts the threads that are started, and can refuse to start them.

namespace {
std::size_t threadCount = 0;
bool refusesThreads = false;
} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    ++threadCount;
    return refusesThreads ? EAGAIN : next(thread, attributes, body, argument);
}

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

/// A recording whose only signal has many chunks, and more bytes than one thread reads alone.
class LargeSeriesTest : public RecordingTest, public ::testing::WithParamInterface<Compression> {
protected:
    static constexpr std::size_t stepCount = 300'000;
    static constexpr std::size_t chunkStepCount = 10'000;

    LargeSeriesTest() {
        options.compression = GetParam();
        options.chunkByteCount = 2 * sizeof(double) * chunkStepCount;
        const auto writer = makeWriter();
        for (std::size_t s = 0; s < stepCount; ++s) {
            write(*writer, 0, timeOf(s), {valueOf(s)});
        }
        writer->flush();
        location = writer->location();
    }
    ~LargeSeriesTest() override { refusesThreads = false; }

    static double timeOf(std::size_t step) { return 0.25 * static_cast<double>(step); }
    static double valueOf(std::size_t step) { return std::sin(timeOf(step)); }

    /// Compares the series with the steps [first, end).
    static void expectSteps(const Series& series, std::size_t first, std::size_t end) {
        ASSERT_EQ(series.size(), end - first);
        for (std::size_t s = first; s < end; ++s) {
            ASSERT_EQ(series.times()[s - first], timeOf(s));
            ASSERT_EQ(series.values()[s - first], valueOf(s));
        }
    }

    /// Where the chunk's record begins.
    std::size_t offsetOf(std::size_t chunk) const {
        const std::string bytes = bytesOf(samples());
        std::size_t offset = 0;
        for (std::size_t k = 0; k <= chunk; ++k) {
            offset = bytes.find("L2RECORD", offset + 1);
        }
        return offset;
    }

    void damage(std::size_t chunk) const {
        std::string bytes = bytesOf(samples());
        bytes.at(offsetOf(chunk) + 2000) ^= 1;
        writeBytes(samples(), bytes);
    }

    fs::path samples() const { return fs::path(location) / "samples.bin"; }

    std::string location;
    const ValuePath x{"x"};
};

TEST_P(LargeSeriesTest, secondThreadHelpsToReadIt) {
    const auto run = open_recording(location);
    threadCount = 0;
    const Series series = run->series(x);
    EXPECT_EQ(threadCount, 1U);
    EXPECT_FALSE(series.isView());
    expectSteps(series, 0, stepCount);
}

TEST_P(LargeSeriesTest, smallRangeNeedsNoSecondThread) {
    const auto run = open_recording(location);
    threadCount = 0;
    expectSteps(run->series(x, timeOf(9'000), timeOf(10'999)), 9'000, 11'000);
    EXPECT_EQ(threadCount, 0U);
}

TEST_P(LargeSeriesTest, oneThreadIsEnough) {
    const auto run = open_recording(location);
    refusesThreads = true;
    expectSteps(run->series(x), 0, stepCount);
}

TEST_P(LargeSeriesTest, errorIsThatOfTheFirstDamagedChunk) {
    for (const std::size_t chunk : {29, 12, 11, 3}) {
        damage(chunk);
        const std::string expected = "chunk at byte " + std::to_string(offsetOf(chunk));
        const auto run = open_recording(location);
        for (int repetition = 0; repetition < 20; ++repetition) {
            EXPECT_THAT([&] { run->series(x); },
                        ThrowsMessage<RecordingError>(HasSubstr(expected)));
        }
    }
}

TEST_P(LargeSeriesTest, shortenedFileIsAnError) {
    const auto run = open_recording(location);
    expectSteps(run->series(x, timeOf(250'100), timeOf(250'200)), 250'100, 250'201);
    fs::resize_file(samples(), offsetOf(20) + 5000);
    const auto isFound =
        ThrowsMessage<RecordingError>(HasSubstr("it ends too early: bytes are missing"));
    EXPECT_THAT([&] { run->series(x); }, isFound);
    EXPECT_THAT([&] { run->series(x, timeOf(250'100), timeOf(250'200)); }, isFound);
    expectSteps(run->series(x, 0.0, timeOf(99)), 0, 100);
}

TEST_P(LargeSeriesTest, seriesOutlivesTheRun) {
    auto run = open_recording(location);
    const Series series = run->series(x);
    run.reset();
    fs::remove_all(location);
    expectSteps(series, 0, stepCount);
}

INSTANTIATE_TEST_SUITE_P(Recording, LargeSeriesTest,
                         ::testing::Values(Compression::none, Compression::lz4),
                         [](const auto& instance) {
                             return instance.param == Compression::none ? "unpacked" : "packed";
                         });

} // namespace
} // namespace logging2::core::test
