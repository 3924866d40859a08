#include <tests/backends/recording/recordings.hpp>

#include <thread>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class ManyWritersTest : public RecordingTest {};

TEST_F(ManyWritersTest, thousandAtOnceHaveDirectoriesOfTheirOwn) {
    constexpr std::size_t threadCount = 8;
    constexpr std::size_t writersPerThread = 125;
    options.bufferByteCount = 4096;
    std::vector<std::vector<std::unique_ptr<RecordingStreamWriter>>> writers(threadCount);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t) {
        threads.emplace_back([this, t, &writers] {
            for (std::size_t i = 0; i < writersPerThread; ++i) {
                writers[t].push_back(makeWriter());
                write(*writers[t].back(), 0, 1.0, {static_cast<double>(t * writersPerThread + i)});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(directory.names().size(), threadCount * writersPerThread);
    for (std::size_t t = 0; t < threadCount; ++t) {
        for (std::size_t i = 0; i < writersPerThread; ++i) {
            const std::string location = writers[t][i]->location();
            writers[t][i].reset();
            EXPECT_THAT(valuesOf(*open_recording(location)),
                        ElementsAre(static_cast<double>(t * writersPerThread + i)));
        }
    }
}

} // namespace
} // namespace logging2::core::test
