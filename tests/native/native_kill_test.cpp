#include <tests/native/native_writers.hpp>

#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <new>
#include <random>
#include <thread>

// A host that is killed at random instants. LOGGING2_KILLS sets how often (scripts/kills).

namespace logging2::core::test {
namespace {

constexpr std::size_t batchRowCount = 5;

/// The most rows that are in memory: a buffer that is about to be handed over, and a batch in the
/// slot or being written.
constexpr std::size_t rowsInMemory = 2 * batchRowCount;

std::size_t kill_count() {
    const char* const text = std::getenv("LOGGING2_KILLS"); // NOLINT(concurrency-mt-unsafe)
    return text != nullptr ? std::stoul(text) : 125;
}

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

/// The host's action between two rows.
using BetweenRows = void (*)(NativeStreamWriter& writer, long written);

/// Full buffers go to the thread; sometimes the caller writes as well.
void through_the_thread(NativeStreamWriter& writer, long written) {
    if (written % 17 == 0) {
        writer.flushIntermediate();
    }
}

/// No buffer ever fills: this way loses nothing while the host lives.
void by_the_caller(NativeStreamWriter& writer, long written) {
    if (written % static_cast<long>(batchRowCount - 1) == 0) {
        writer.flushIntermediate();
        writer.clearBuffer();
    }
}

/// Writes rows without end. Row i has the time i and the values 10 i, 100 i and 100 i + 1.
[[noreturn]] void logForEver(NativeStreamWriter& writer, BetweenRows betweenRows,
                             std::atomic<long>& written) {
    for (long i = 0;; ++i) {
        const auto x = static_cast<double>(i);
        const double row[] = {10.0 * x, 100.0 * x, 100.0 * x + 1.0};
        writer.write(0, x, row, 3);
        written = i + 1;
        betweenRows(writer, i + 1);
    }
}

/// The child's progress and its files at the instant of its death.
struct Killed {
    std::size_t written;
    std::vector<double> times;
    std::vector<double> scalar;
    std::vector<double> pair;

    /// Samples that all three files hold.
    std::size_t inFiles() const { return pair.size() / 2; }

    /// The number of samples missing after the last one in the files.
    std::size_t missingAtTheEnd() const {
        const std::size_t seen =
            inFiles() == 0 ? 0 : static_cast<std::size_t>(times[inFiles() - 1]) + 1;
        return written > seen ? written - seen : 0;
    }

    std::size_t missing() const { return written > inFiles() ? written - inFiles() : 0; }
};

Killed runAndKill(long target, BetweenRows betweenRows) {
    const SystemTempDirectory directory;
    const SharedCounter written;
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    Access::setBufferSize(writer, 0, batchRowCount);
    const pid_t child = fork();
    if (child == 0) {
        logForEver(writer, betweenRows, *written.value);
    }
    int status = 0;
    while (*written.value < target) {
        if (waitpid(child, &status, WNOHANG) != 0) {
            ADD_FAILURE() << "the child ended before the kill, status " << status;
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
    return {static_cast<std::size_t>(*written.value),
            doublesOf(native(location("a").timesLocation())),
            doublesOf(native(location("a").valuesLocation())),
            doublesOf(native(location("b").valuesLocation()))};
}

/// Times are appended first, then one channel after the other, so a file lacks at most one batch.
void expectPrefixes(const Killed& killed) {
    const std::size_t timeCount = killed.times.size();
    EXPECT_LE(killed.scalar.size(), timeCount);
    EXPECT_LE(killed.inFiles(), killed.scalar.size());
    EXPECT_LE(timeCount - killed.inFiles(), batchRowCount);
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

/// The losses of a series of kills, in samples.
struct Losses {
    std::size_t atRisk; ///< the most that can be in memory at the instant of a kill
    std::size_t kills = 0;
    std::size_t written = 0;
    std::size_t inFiles = 0;
    std::size_t replaced = 0; ///< lost before the kill: another batch replaced them in the slot
    std::size_t killed = 0;
    std::size_t mostKilled = 0;

    void add(const Killed& one) {
        const std::size_t lost = std::min(one.missingAtTheEnd(), atRisk);
        ++kills;
        written += one.written;
        inFiles += one.inFiles();
        replaced += one.missing() - std::min(one.missing(), lost);
        killed += lost;
        mostKilled = std::max(mostKilled, lost);
    }
};

void print(const char* way, const Losses& losses) {
    std::cout << way << ": " << losses.kills << " kills, " << losses.written << " samples written, "
              << losses.inFiles << " in all their files, " << losses.replaced
              << " replaced before the kill; lost to a kill: at most " << losses.atRisk
              << " possible, at most " << losses.mostKilled << " seen, " << losses.killed
              << " in total\n";
}

Losses killAgainAndAgain(BetweenRows betweenRows, std::size_t atRisk) {
    std::mt19937 random(1);
    Losses losses{atRisk};
    for (std::size_t i = 0; i < kill_count() && !::testing::Test::HasFailure(); ++i) {
        const long target = std::uniform_int_distribution<long>(1, 400)(random);
        SCOPED_TRACE("kill " + std::to_string(i) + " at row " + std::to_string(target));
        const Killed killed = runAndKill(target, betweenRows);
        expectPrefixes(killed);
        losses.add(killed);
    }
    EXPECT_GT(losses.inFiles, kill_count()) << "almost no sample reached a file";
    return losses;
}

TEST(NativeKillTest, killedHostLeavesPrefixesOfTheBatches) {
    print("through the thread", killAgainAndAgain(through_the_thread, rowsInMemory));
}

TEST(NativeKillTest, killLosesOnlyTheUnfinishedBufferOfAnAppendingCaller) {
    const Losses losses = killAgainAndAgain(by_the_caller, batchRowCount - 1);
    EXPECT_EQ(losses.replaced, 0U);
    print("by the caller", losses);
}

} // namespace
} // namespace logging2::core::test
