#include <tests/native/native_writers.hpp>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <new>
#include <random>
#include <thread>

// A host that is killed at any instant.

namespace logging2::core::test {
namespace {

constexpr int killCount = 250;
constexpr std::size_t batchRowCount = 5;

/// A counter that a child process shares with its parent.
class SharedCounter {
public:
    SharedCounter()
        : memory(mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          value(new (memory) std::atomic<long>(0)) {}
    ~SharedCounter() { munmap(memory, sizeof(std::atomic<long>)); }
    SharedCounter(const SharedCounter&) = delete;
    SharedCounter& operator=(const SharedCounter&) = delete;

private:
    void* memory;

public:
    std::atomic<long>* value;
};

/// Row i has the time i and the values 10 i, 100 i and 100 i + 1.
[[noreturn]] void logForEver(NativeStreamWriter& writer, std::atomic<long>& written) {
    for (long i = 0;; ++i) {
        const auto x = static_cast<double>(i);
        const double row[] = {10.0 * x, 100.0 * x, 100.0 * x + 1.0};
        writer.write(0, x, row, 3);
        written = i + 1;
        if (i % 17 == 16) {
            writer.flushIntermediate();
        }
    }
}

/// The child and its files at the instant of its death.
struct Killed {
    long written;
    std::vector<double> times;
    std::vector<double> scalar;
    std::vector<double> pair;
};

Killed runAndKill(long target) {
    const SystemTempDirectory directory;
    const SharedCounter written;
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    Access::setBufferSize(writer, 0, batchRowCount);
    const pid_t child = fork();
    if (child == 0) {
        logForEver(writer, *written.value);
    }
    int status = 0;
    while (*written.value < target) {
        if (waitpid(child, &status, WNOHANG) != 0) {
            ADD_FAILURE() << "the child ended by itself, status " << status;
            break;
        }
        std::this_thread::yield();
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    const auto location = [&](const char* path) {
        return boost::any_cast<NativeDatastore>(writer.dataStore(ValuePath(path)));
    };
    return {*written.value, doublesOf(native(location("a").timesLocation())),
            doublesOf(native(location("a").valuesLocation())),
            doublesOf(native(location("b").valuesLocation()))};
}

/// Times are appended first, then channel after channel: a file behind is behind by one batch.
void expectPrefixes(const Killed& killed) {
    const std::size_t timeCount = killed.times.size();
    const std::size_t pairCount = killed.pair.size() / 2;
    EXPECT_LE(killed.scalar.size(), timeCount);
    EXPECT_LE(pairCount, killed.scalar.size());
    EXPECT_LE(timeCount - pairCount, batchRowCount);
    for (std::size_t s = 0; s < timeCount; ++s) {
        EXPECT_EQ(killed.times[s], std::floor(killed.times[s]));
        EXPECT_LE(killed.times[s], static_cast<double>(killed.written));
        EXPECT_TRUE(s == 0 || killed.times[s] > killed.times[s - 1]);
    }
    for (std::size_t s = 0; s < killed.scalar.size(); ++s) {
        EXPECT_EQ(killed.scalar[s], 10.0 * killed.times[s]);
    }
    for (std::size_t i = 0; i < killed.pair.size(); ++i) {
        EXPECT_EQ(killed.pair[i], 100.0 * killed.times[i / 2] + static_cast<double>(i % 2));
    }
}

TEST(NativeKillTest, filesOfAKilledHostHoldPrefixesOfWhatWasHandedToThem) {
    std::mt19937 random(1);
    std::size_t rowsSeen = 0;
    for (int i = 0; i < killCount && !::testing::Test::HasFailure(); ++i) {
        const long target = std::uniform_int_distribution<long>(1, 400)(random);
        SCOPED_TRACE("kill " + std::to_string(i) + " at row " + std::to_string(target));
        const Killed killed = runAndKill(target);
        expectPrefixes(killed);
        rowsSeen += killed.times.size();
    }
    EXPECT_GT(rowsSeen, static_cast<std::size_t>(killCount)) << "hardly anything reached a file";
}

} // namespace
} // namespace logging2::core::test
