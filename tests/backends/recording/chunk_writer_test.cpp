#include <logging2/backends/recording/detail/ChunkWriter.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>

#include <tests/support/FailingCalls.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <random>

// This executable can refuse to start threads.

namespace {
bool refusesThreads = false;
} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return refusesThreads ? EAGAIN : next(thread, attributes, body, argument);
}

namespace logging2::core::detail {
namespace {

using core::test::Call;
using core::test::FailingCalls;

/// Chunks of two groups, more than what is written at once.
class ChunkWriterTest : public ::testing::TestWithParam<Compression> {
protected:
    ChunkWriterTest() {
        constexpr std::size_t stepCounts[] = {1, 700, 2000, 12000, 300, 9000, 9};
        for (std::size_t k = 0; k < 14; ++k) {
            ChunkEncoder& encoder = k % 2 == 0 ? narrow : wide;
            const std::size_t stepCount = stepCounts[k % 7];
            rows.emplace_back(stepCount * encoder.rowLength());
            for (std::size_t step = 0; step < stepCount; ++step) {
                rows.back()[step * encoder.rowLength()] = static_cast<double>(step);
                rows.back()[step * encoder.rowLength() + 1] = static_cast<double>(random());
            }
            PendingChunk chunk{&encoder, encoder.layout(stepCount), rows.back().data(), {}, {}};
            chunk.header.sequence = k;
            chunk.header.stepCount = stepCount;
            chunks.push_back(chunk);
        }
    }

    /// Compares the file with the records of a writer that does everything alone.
    void expectRecords(std::uint64_t end) {
        std::vector<PendingChunk> expected = chunks;
        const std::string name = (directory.path() / "alone").string();
        DataFile aloneFile = DataFile::create(name, 0600);
        refusesThreads = true;
        ChunkWriter alone(aloneFile, GetParam());
        EXPECT_EQ(alone.write(expected, 640), end);
        refusesThreads = false;
        for (std::size_t k = 0; k < chunks.size(); ++k) {
            EXPECT_EQ(chunks[k].row.offset, expected[k].row.offset) << k;
            EXPECT_EQ(chunks[k].row.byteCount, expected[k].row.byteCount) << k;
            EXPECT_EQ(chunks[k].row.lastTime, static_cast<double>(chunks[k].header.stepCount - 1));
        }
        EXPECT_EQ(core::test::bytesOf(file.name()), core::test::bytesOf(name));
        std::filesystem::remove(name);
    }

    std::mt19937 random{7};
    core::test::TemporaryDirectory directory;
    DataFile file = DataFile::create((directory.path() / "samples.bin").string(), 0600);
    ChunkEncoder narrow{{1}};
    ChunkEncoder wide{{1, 3, 9}};
    std::vector<std::vector<double>> rows;
    std::vector<PendingChunk> chunks;
};

TEST_P(ChunkWriterTest, twoThreadsWriteWhatOneWrites) {
    ChunkWriter writer(file, GetParam());
    for (int repetition = 0; repetition < 10; ++repetition) {
        expectRecords(writer.write(chunks, 640));
    }
}

TEST_P(ChunkWriterTest, nothingEndsWhereItBegins) {
    ChunkWriter writer(file, GetParam());
    chunks.clear();
    EXPECT_EQ(writer.write(chunks, 640), 640U);
}

TEST_P(ChunkWriterTest, oneThreadIsEnoughIfAnotherCannotBeStarted) {
    refusesThreads = true;
    ChunkWriter writer(file, GetParam());
    const std::uint64_t end = writer.write(chunks, 640);
    expectRecords(end);
}

TEST_P(ChunkWriterTest, failedWriteIsThrownAndCanBeRepeated) {
    ChunkWriter writer(file, GetParam());
    for (std::size_t before = 0; before < 3; ++before) {
        {
            std::vector<core::test::Outcome> outcomes(before, core::test::works());
            outcomes.push_back(core::test::fails(ENOSPC));
            const FailingCalls calls(Call::write, "samples.bin", outcomes);
            std::vector<PendingChunk> failing = chunks;
            EXPECT_THROW(writer.write(failing, 640), RecordingError);
        }
        expectRecords(writer.write(chunks, 640));
    }
}

INSTANTIATE_TEST_SUITE_P(Compressions, ChunkWriterTest,
                         ::testing::Values(Compression::none, Compression::lz4));

} // namespace
} // namespace logging2::core::detail
