#include <tests/backends/recording/recordings.hpp>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>

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
    static constexpr std::size_t width = 15;

    LargeSeriesTest() {
        options.compression = GetParam();
        options.chunkByteCount = (1 + width) * sizeof(double) * chunkStepCount;
        const auto writer = makeWriter(
            {{Group(0), LoggedPathsSetupData(paths({{"x", 0}}), channels({{0, width}}))}});
        Doubles row(width);
        for (std::size_t s = 0; s < stepCount; ++s) {
            for (std::size_t e = 0; e < width; ++e) {
                row[e] = valueOf(s, e);
            }
            writer->write(0, timeOf(s), row.data(), width);
        }
        writer->flush();
        location = writer->location();
    }
    ~LargeSeriesTest() override { refusesThreads = false; }

    static double timeOf(std::size_t step) { return 0.25 * static_cast<double>(step); }
    static double valueOf(std::size_t step, std::size_t element) {
        return static_cast<double>(step * step + element);
    }

    /// Compares the series with the steps [first, end).
    static void expectSteps(const Series& series, std::size_t first, std::size_t end) {
        ASSERT_EQ(series.size(), end - first);
        std::size_t wrongCount = 0;
        for (std::size_t s = first; s < end; ++s) {
            wrongCount += series.times()[s - first] == timeOf(s) ? 0 : 1;
            for (std::size_t e = 0; e < width; ++e) {
                const double value = series.values()[(s - first) * width + e];
                wrongCount += value == valueOf(s, e) ? 0 : 1;
            }
        }
        EXPECT_EQ(wrongCount, 0U);
    }

    /// Where the chunk's record begins. The description comes before the first one.
    std::size_t offsetOf(std::size_t chunk) const {
        constexpr std::size_t headerByteCount = 128;
        constexpr std::size_t payloadByteCountAt = 72;
        std::ifstream file(samples(), std::ios::binary);
        std::size_t offset = 0;
        for (std::size_t k = 0; k <= chunk; ++k) {
            std::uint64_t payloadByteCount = 0;
            file.seekg(static_cast<std::streamoff>(offset + payloadByteCountAt));
            file.read(reinterpret_cast<char*>(&payloadByteCount), sizeof payloadByteCount);
            offset += headerByteCount + payloadByteCount;
        }
        return offset;
    }

    void damage(std::size_t chunk) const {
        std::fstream file(samples(), std::ios::binary | std::ios::in | std::ios::out);
        const auto place = static_cast<std::streamoff>(offsetOf(chunk) + 2000);
        file.seekg(place);
        const auto byte = static_cast<char>(file.get() ^ 1);
        file.seekp(place);
        file.put(byte);
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
    for (const std::size_t chunk : {29U, 12U, 11U, 3U}) {
        damage(chunk);
        const std::string expected = "chunk at byte " + std::to_string(offsetOf(chunk));
        const auto run = open_recording(location);
        for (int repetition = 0; repetition < 5; ++repetition) {
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
